/*
 * A module's socket as seen by other processes: whether somebody listens, and why it can't be reached. For a
 * played module also its removal.
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "cli/user_signals.h"

/* Whether a process listens on the module's socket. */
bool is_served(uint32_t module);

/* Whether this process may not connect to the module's socket. Any thread. */
bool is_forbidden(uint32_t module);

/* The process that listens on the module's socket; 0 if it is unknown. */
pid_t serving_process(uint32_t module);

/*
 * Describes why the module's socket can't be reached, as a text that follows the module's name: "is not
 * running". Checks the present state, without waiting.
 */
std::string absence_words(uint32_t module);

/*
 * Waits until the module has answered all accepted messages, or until Ctrl-C. It sends a probe: the module
 * handles one message at a time, so the probe is answered last.
 */
void wait_for_last_answer(uint32_t module, const SignalWatch &watch);

/* Removes the socket, so that nobody can reach the module any more. */
void remove_service_socket(uint32_t module);
