/*
 * Prints sentences, and properties, one name and value per line, wrapped on a narrow terminal.
 */
#pragma once

#include <string>

#include "output/terminal.h"

/* The terminal's width; no limit elsewhere. */
size_t output_width();

/* Prints a sentence, wrapped. */
void print_sentence(const std::string &sentence, Style style = Style::kPlain);

/* Prints a title, in bold or another style. */
void print_title(const std::string &title, Style style = Style::kStrong);

/* Prints a line below it; an empty value is a dash. */
void print_field(const std::string &name, const std::string &value);
