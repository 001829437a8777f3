/*
 * Gives a tool the identity of a module, which it needs to send messages.
 */
#pragma once

#include <cstdint>

#include "frwk_common.h"

/*
 * Starts as a module. The debug channel stays off unless QUOR_DEBUG=1 is set: a tool prints its own error
 * messages, and the debug lines may contain values.
 *
 * exit_handler: called before a message ends the process; may be null.
 */
void become_module(int32_t id, frwk_exit_handler_t exit_handler = nullptr);
