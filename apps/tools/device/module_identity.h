/*
 * A tool as a module: it takes its identity before it sends anything.
 */
#pragma once

#include <cstdint>

#include "frwk_common.h"

/*
 * Starts as a module. The debug channel stays off unless QUOR_DEBUG=1 asks for it: a tool says itself what
 * went wrong, and the lines may show values.
 *
 * exit_handler: called before a message ends the process; may be null.
 */
void become_module(int32_t id, frwk_exit_handler_t exit_handler = nullptr);
