/*
 * Truncates UTF-8 texts. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* The text, or its longest prefix of complete characters that fits the number of bytes. */
std::string cut_text(const std::string &text, size_t bytes);
