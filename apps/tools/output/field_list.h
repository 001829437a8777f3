/*
 * Prints properties, one name and value per line, wrapped on a narrow terminal.
 */
#pragma once

#include <string>

/* Prints a title in bold. */
void print_title(const std::string &title);

/* Prints a line below it; an empty value is a dash. */
void print_field(const std::string &name, const std::string &value);
