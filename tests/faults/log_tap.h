/*
 * The lines that the libraries log, taken before they reach a channel: what a line says is looked at, and
 * writing it is no part of the run.
 */
#pragma once

#include <string>

namespace faults {

/* From now on lines are kept, the earlier ones forgotten. */
void start_log();

/* How many lines at the level of a warning or above were logged since. */
int warnings();

/* They, and no line of a lower level, for a failed test's message. */
std::string logged_text();

}  // namespace faults
