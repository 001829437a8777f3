/*
 * The outcome of a request to a module: whether it was delivered, and its answer.
 */
#pragma once

#include <cstdint>
#include <string>

#include "apps_err.h"
#include "apps_message.h"
#include "cli/exit_code.h"

struct RequestOutcome {
    apps_err_e_type sent;   /* of frwk_ipc_send_sync or frwk_ipc_send_async */
    apps_err_e_type result; /* the module's result, if sent is success */

    bool done() const { return delivered() && result == E_APPS_ERR_SUCCESS; }
    bool delivered() const { return sent == E_APPS_ERR_SUCCESS || sent == E_APPS_ERR_ASYNC; }
};

/* The time limit for a module to accept a request, in seconds. */
inline constexpr uint32_t kRequestSeconds = 3;

/* Sends a request and waits for its answer. answer: its size is the size of the answer. */
RequestOutcome send_request(uint32_t module, apps_message_id_e_type msgid, const std::string &body,
                            std::string *answer = nullptr, uint32_t seconds = kRequestSeconds);

/* Sends a message without an answer. */
RequestOutcome send_message(uint32_t module, apps_message_id_e_type msgid, const std::string &body,
                            uint32_t seconds = kRequestSeconds);

/* The exit code of an outcome. */
ExitCode exit_code_of(const RequestOutcome &outcome);

/*
 * Prints an error message if the request failed, and returns the exit code.
 *
 * what: the request, such as "get 'lan_ip'". hint: appended to a refusal of the module; ""
 * for the one of its code.
 */
ExitCode report_outcome(const RequestOutcome &outcome, uint32_t module, const std::string &what,
                        const std::string &hint = "");
