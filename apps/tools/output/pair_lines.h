/*
 * What is known of one thing, for people: a name and a value a line, wrapped on a narrow terminal.
 */
#pragma once

#include <string>

/* Prints a thing's name, strong. */
void print_title(const std::string &title);

/* Prints a line below it; an empty value is a dash. */
void print_pair(const std::string &name, const std::string &value);
