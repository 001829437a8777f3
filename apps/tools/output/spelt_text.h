/*
 * Escapes texts for a terminal: control characters, marks that change the direction of the text, invisible
 * characters and bytes that are not UTF-8 are written as numbers. Pure.
 */
#pragma once

#include <string>

/* One line: a line feed is escaped too. Each byte is written as "\x1b". */
std::string spelt_out(const std::string &text);

/* The same for several lines: line feeds are kept. */
std::string spelt_out_lines(const std::string &text);

/* The same for JSON in UTF-8, whose value doesn't change: characters are written as "\u001b". */
std::string spelt_out_json(const std::string &json);
