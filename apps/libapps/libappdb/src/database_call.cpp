#include "database_call.h"

#include <cstring>

#include "formats/zndb_wire.h"
#include "frwk_common.h"

namespace zndb {

int check_key(LogName caller, const char *key) {
    if (std::strlen(key) >= ZNDB_KEY_LEN) {
        FRWK_WARN(caller, "KEY len >= %d error!", ZNDB_KEY_LEN);
        return E_ZNDB_RET_KEY_LEN;
    }
    return E_ZNDB_RET_SUCCESS;
}

int check_value(LogName caller, const char *value) {
    if (std::strlen(value) >= ZNDB_VALUE_LEN) {
        FRWK_WARN(caller, "VALUE len >= %d error!", ZNDB_VALUE_LEN);
        return E_ZNDB_RET_VALUE_LEN;
    }
    return E_ZNDB_RET_SUCCESS;
}

int send_request(const Request &request, int32_t *result) {
    *result = E_APPS_ERR_SUCCESS;
    const apps_err_e_type sent = frwk_ipc_send_sync(E_APPS_MODULE_ZNDB, request.msg, request.body,
                                                    static_cast<uint32_t>(request.body_len), request.answer,
                                                    request.answer_size, kZndbTimeoutSeconds, result);
    if (sent != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(request.caller, "IPC error:%d!", sent);
        return E_ZNDB_RET_IPC;
    }
    return E_ZNDB_RET_SUCCESS;
}

int plain_outcome(LogName caller, int32_t result) {
    if (result != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(caller, "IPC module error:%d!", result);
        return E_ZNDB_RET_FAILURE;
    }
    return E_ZNDB_RET_SUCCESS;
}

}  // namespace zndb
