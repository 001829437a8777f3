/*
 * Compares texts without regard to upper and lower case. Pure.
 */
#pragma once

#include <string>
#include <string_view>

bool same_letter(char left, char right);

/* Whether a text begins with a part. */
bool starts_like(std::string_view text, std::string_view part);

/* Whether a text contains a part; any text contains "". */
bool contains_like(std::string_view text, std::string_view part);

/* Whether a text as a whole matches a shell's pattern. */
bool matches_pattern(const std::string &text, const std::string &pattern);
