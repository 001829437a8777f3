/*
 * Characters of a text in UTF-8, and which of them act on a terminal instead of being shown. Pure.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/* Bytes of the character that a text begins with; 0 when they are not UTF-8. text: at least one byte. */
size_t utf8_length(std::string_view text);

/* The number of a character in Unicode. character: exactly one, in UTF-8. */
uint32_t utf8_code(std::string_view character);

/*
 * Whether a terminal shows a character and does nothing else with it. False for control characters of both
 * sets (C0 with DEL, and C1), for marks that change the direction of the text, and for other invisible format
 * characters: Unicode's categories Cc, Cf, Zl and Zp.
 *
 * character: exactly one, in UTF-8.
 */
bool is_shown_as_it_is(std::string_view character);
