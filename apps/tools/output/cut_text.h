/*
 * Text in UTF-8 cut to a length. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* The text, or as many of its first bytes as fit into a number of them without cutting a character. */
std::string cut_text(const std::string &text, size_t bytes);
