/*
 * The steps that the client's calls share: argument checks, one request, and its result. They log failures.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "apps_message.h"
#include "internal/frwk_log.h"
#include "internal/log_name.h"
#include "zndb.h"

namespace zndb {

/* One request; caller is the function name in its log lines. */
struct Request {
    LogName caller;
    apps_message_id_e_type msg;
    const void *body;
    size_t body_len;
    void *answer;
    uint32_t answer_size;
};

/* Checks the key's length. Returns 0 or the call's result. */
int check_key(LogName caller, const char *key);

/*
 * Checks that all pointers were given, and the key's length. Returns 0 or the call's result.
 * It is inline so that a static analyzer sees that no null pointer gets past it.
 */
inline int check_arguments(LogName caller, bool all_given, const char *key) {
    if (!all_given) {
        FRWK_WARN(caller, "Parameter error!");
        return E_ZNDB_RET_FAILURE;
    }
    return check_key(caller, key);
}

/* Checks the value's length. Returns 0 or the call's result. */
int check_value(LogName caller, const char *value);

/*
 * Sends a request. result: receives the database's result if the call returns success.
 * Returns 0 or E_ZNDB_RET_IPC.
 */
int send_request(const Request &request, int32_t *result);

/* Converts the database's result to success or failure. */
int plain_outcome(LogName caller, int32_t result);

}  // namespace zndb
