/*
 * Decodes UTF-8, and identifies characters that control a terminal or are invisible. Pure.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/* The length in bytes of a text's first character; 0 if it is not UTF-8. text: at least one byte. */
size_t utf8_length(std::string_view text);

/* The Unicode code point of a character. character: exactly one, in UTF-8. */
uint32_t utf8_code(std::string_view character);

/*
 * Whether a character can be printed on a terminal without escaping. False for control characters (C0, DEL
 * and C1), for marks that change the direction of the text, and for other invisible format characters:
 * Unicode's categories Cc, Cf, Zl and Zp.
 *
 * character: exactly one, in UTF-8.
 */
bool is_shown_as_it_is(std::string_view character);
