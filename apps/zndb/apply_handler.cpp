#include "apply_handler.h"

#include <cstring>

#include "os_log.h"

namespace {

apps_err_e_type answer_apply(Trial &trial, const ZndbMessage &message) {
    ApplyRequest request = {};
    if (!read_apply_body(message.data, message.data_len, request)) {
        OS_LOG(OS_LOG_WARNING, "message %d of module %u refused: its body of %d bytes is malformed",
               message.msgid, message.src, message.data_len);
        return E_APPS_ERR_ZNDB_ARG;
    }
    ApplyAnswer answer = {};
    const apps_err_e_type result = trial.handle(request, answer);
    if (message.rsp != nullptr && message.rsp_size >= sizeof(answer)) {
        std::memcpy(message.rsp, &answer, sizeof(answer));
    }
    return result;
}

}  // namespace

apps_err_e_type zndb_handle(Database &database, Trial &trial, const ZndbMessage &message) {
    if (message.msgid == kZndbApplyMessage) {
        return answer_apply(trial, message);
    }
    const apps_err_e_type result =
        message.msgid == E_APPS_MSG_ZNDB_RESET ? trial.before_reset() : E_APPS_ERR_SUCCESS;
    return result == E_APPS_ERR_SUCCESS ? zndb_handle(database, message) : result;
}
