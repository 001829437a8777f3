/*
 * Texts spelt out for a terminal. It shows them and does nothing else, whatever they hold: control
 * characters, marks that change the direction of the text, invisible characters and bytes that are not UTF-8
 * are written as their numbers. Pure.
 */
#pragma once

#include <string>

/* One line: a line feed is spelt out like the rest. Each byte is written as "\x1b". */
std::string spelt_out(const std::string &text);

/* The same for several lines, whose line feeds stay. */
std::string spelt_out_lines(const std::string &text);

/* The same for JSON in UTF-8, which means the same afterwards: characters are written as "\u001b". */
std::string spelt_out_json(const std::string &json);
