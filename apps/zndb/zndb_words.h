/*
 * The command line of the service: it has no arguments of its own, but people try --help.
 */
#pragma once

#include <optional>

/*
 * Answers --help, -h and --version as the first argument.
 *
 * Returns the exit status, or nothing if the service is to start.
 */
std::optional<int> answer_command_line(int argc, char **argv);
