/*
 * Captures the log lines of the libraries before they reach a channel, so that writing them is not part of a
 * run.
 */
#pragma once

#include <string>

namespace faults {

/* Starts capturing; discards earlier lines. */
void start_log();

/* The number of captured lines at the warning level or above. */
int warnings();

/* The text of these lines, for a failed test's message. */
std::string logged_text();

}  // namespace faults
