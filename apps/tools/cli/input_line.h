/*
 * Reads a line from standard input, typed or piped.
 */
#pragma once

#include <string>

/*
 * Reads a line from standard input. On a terminal it first prints a prompt on standard error; hidden turns
 * the echo off. Ctrl-C restores the terminal and ends the process.
 *
 * Returns false at the end of the input.
 */
bool read_input_line(const std::string &prompt, bool hidden, std::string *line);
