/*
 * The requests to the configuration database. Each checks its arguments, builds the body, sends it,
 * translates the answer and logs failures.
 */
#include "zndb.h"

#include <cstring>

#include "database_call.h"
#include "formats/zndb_wire.h"
#include "frwk_common.h"
#include "internal/frwk_log.h"
#include "internal/log_name.h"

namespace {

using zndb::check_arguments;
using zndb::plain_outcome;
using zndb::Request;
using zndb::send_request;

/* Converts an answer to success, failure or a missing key. */
int outcome_for_key(LogName caller, const char *key, int32_t result) {
    if (result == E_APPS_ERR_ZNDB_NO_FOUND) {
        FRWK_WARN(caller, "can't found key:%s!", key);
        return E_ZNDB_RET_NOT_FOUND;
    }
    return plain_outcome(caller, result);
}

/* Sends a request whose answer is success or failure. */
int request_plain_outcome(const Request &request) {
    int32_t result = 0;
    const int ret = send_request(request, &result);
    return ret != E_ZNDB_RET_SUCCESS ? ret : plain_outcome(request.caller, result);
}

/* Sends a key and a value. */
int set_value(apps_message_id_e_type msg, const char *key, const char *value) {
    int ret = check_arguments(log_name::kZndbSetRequest, key != nullptr && value != nullptr, key);
    if (ret == E_ZNDB_RET_SUCCESS) {
        ret = zndb::check_value(log_name::kZndbSetRequest, value);
    }
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }

    const zndb_kv_t record = set_body({key, value});
    return request_plain_outcome({log_name::kZndbSetRequest, msg, &record, sizeof(record), nullptr, 0});
}

/*
 * Sends a key and receives its value. buf: receives the NUL-terminated text; undefined on failure.
 * size: size of buf in bytes; the database checks it.
 */
int get_value(apps_message_id_e_type msg, const char *key, char *buf, uint32_t size) {
    int ret = check_arguments(log_name::kZndbGetRequest, key != nullptr && buf != nullptr, key);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }

    int32_t result = 0;
    ret = send_request({log_name::kZndbGetRequest, msg, key, key_body_size(key), buf, size}, &result);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }
    if (result == E_APPS_ERR_OUTOFBUF) {
        FRWK_WARN(log_name::kZndbGetRequest, "'%s' VALUE len >= %d error!", key, static_cast<int>(size));
        return E_ZNDB_RET_VALUE_LEN;
    }
    if (result != E_APPS_ERR_SUCCESS) {
        return outcome_for_key(log_name::kZndbGetRequest, key, result);
    }
    if (size > 0) {
        buf[size - 1] =
            '\0'; /* callers need a text, even if another process answered instead of the database */
    }
    return E_ZNDB_RET_SUCCESS;
}

/* Sends a key. */
int delete_value(apps_message_id_e_type msg, const char *key) {
    int ret = check_arguments(log_name::kZndbDelRequest, key != nullptr, key);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }

    int32_t result = 0;
    ret = send_request({log_name::kZndbDelRequest, msg, key, key_body_size(key), nullptr, 0}, &result);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }
    return outcome_for_key(log_name::kZndbDelRequest, key, result);
}

/* Sends a message without a body. caller: the function that the log names. */
int send_message(LogName caller, apps_message_id_e_type msg) {
    return request_plain_outcome({caller, msg, nullptr, 0, nullptr, 0});
}

}  // namespace

int zndb_set(const char *key, const char *value) {
    return set_value(E_APPS_MSG_ZNDB_SET, key, value);
}

int zndb_set_perm_data(const char *key, const char *value) {
    return set_value(E_APPS_MSG_ZNDB_SET_PERM, key, value);
}

int zndb_get(const char *key, char *value, uint32_t size) {
    return get_value(E_APPS_MSG_ZNDB_GET, key, value, size);
}

int zndb_get_perm(const char *key, char *value, uint32_t size) {
    return get_value(E_APPS_MSG_ZNDB_GET_PERM, key, value, size);
}

int zndb_get_def(const char *key, char *value, uint32_t size) {
    return get_value(E_APPS_MSG_ZNDB_GET_DEF, key, value, size);
}

int zndb_del(const char *key) {
    return delete_value(E_APPS_MSG_ZNDB_DEL, key);
}

int zndb_del_perm(const char *key) {
    return delete_value(E_APPS_MSG_ZNDB_DEL_PERM, key);
}

int zndb_save(void) {
    return send_message(log_name::kZndbSaveRequest, E_APPS_MSG_ZNDB_SAVE);
}

int zndb_save_ram(void) {
    return send_message(log_name::kZndbSaveRequest, E_APPS_MSG_ZNDB_SAVE_RAM);
}

int zndb_reset(void) {
    return send_message(__func__, E_APPS_MSG_ZNDB_RESET);
}
