/*
 * The socket of a module that a tool plays, as others see it.
 */
#pragma once

#include <cstdint>

#include "user_signals.h"

/* Whether somebody listens as the module. */
bool is_served(uint32_t module);

/*
 * Waits until the module has answered what it took so far, or until Ctrl-C. It takes one message at a time,
 * so the answer to one more says so.
 */
void wait_for_last_answer(uint32_t module, const SignalWatch &watch);

/* Removes the socket: nobody finds the module any more. */
void remove_service_socket(uint32_t module);
