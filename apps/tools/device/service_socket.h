/*
 * A module's socket as others see it: who listens, what keeps them from it, and of a module that a tool plays
 * its end.
 */
#pragma once

#include <cstdint>
#include <string>

#include "cli/user_signals.h"

/* Whether somebody listens as the module. */
bool is_served(uint32_t module);

/*
 * Says what keeps a request from the module's socket, as words that follow its name: "is not running". One
 * look at the present state, without waiting.
 */
std::string absence_words(uint32_t module);

/*
 * Waits until the module has answered what it took so far, or until Ctrl-C. It takes one message at a time,
 * so the answer to one more says so.
 */
void wait_for_last_answer(uint32_t module, const SignalWatch &watch);

/* Removes the socket: nobody finds the module any more. */
void remove_service_socket(uint32_t module);
