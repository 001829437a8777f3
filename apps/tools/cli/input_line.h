/*
 * A line that somebody types, or that a program writes to standard input.
 */
#pragma once

#include <string>

/*
 * Reads a line of standard input. On a terminal it asks first, on standard error; hidden keeps what is typed
 * off the screen. Ctrl-C puts the terminal back as it was and ends the process.
 *
 * Returns false at the end of the input.
 */
bool read_input_line(const std::string &prompt, bool hidden, std::string *line);
