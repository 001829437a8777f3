#include "apply_handler.h"

#include <cstring>

#include "os_log.h"

namespace {

/* The page's first change of the overlay that the sender may not make, or kNoItem. */
uint32_t refused_in(const ApplyRequest &request, const ZndbMessage &message) {
    ZndbBatchItems items;
    if (request.action != ApplyAction::kAdd ||
        !read_batch_body(request.page, static_cast<int32_t>(request.page_size), items)) {
        return kNoItem;
    }
    return refused_factory_change(items.span(), message);
}

/* Going back to the last save changes the overlay too. */
bool may_act(const ApplyRequest &request, const ZndbMessage &message, BatchAnswer &answer) {
    const uint32_t refused = refused_in(request, message);
    const bool may =
        refused == kNoItem && (request.action != ApplyAction::kUndo || message.may_write_factory == nullptr ||
                               message.may_write_factory(message));
    answer = {may ? E_ZNDB_RET_SUCCESS : E_ZNDB_RET_REFUSED, refused};
    return may;
}

apps_err_e_type answer_apply(Trial &trial, const ZndbMessage &message) {
    ApplyRequest request = {};
    if (!read_apply_body(message.data, message.data_len, request)) {
        OS_LOG(OS_LOG_WARNING, "message %d of module %u refused: its body of %d bytes is malformed",
               message.msgid, message.src, message.data_len);
        return E_APPS_ERR_ZNDB_ARG;
    }
    ApplyAnswer answer = {};
    const apps_err_e_type result =
        may_act(request, message, answer.batch) ? trial.handle(request, answer) : E_APPS_ERR_ZNDB_READ_ONLY;
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
