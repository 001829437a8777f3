/*
 * A request with a limit for all of it. The library limits only the time until the module accepts a request.
 */
#pragma once

#include <chrono>
#include <string>

#include "cli/request_outcome.h"

/*
 * Sends a request on a thread of its own, which is abandoned when the time is over: the outcome is then
 * E_APPS_ERR_TIMEOUT, and the module may still carry out the request.
 *
 * answer: its size is the size of the answer; it changes only if there is one.
 */
RequestOutcome send_request_within(std::chrono::milliseconds limit, uint32_t module,
                                   apps_message_id_e_type msgid, const std::string &body,
                                   std::string *answer);
