/*
 * Characters in UTF-8. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* Bytes of the character that begins at a place of a text; 0 when they are no UTF-8. */
size_t utf8_length(const std::string &text, size_t at);
