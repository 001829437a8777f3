#include "cli/text_match.h"

#include <fnmatch.h>

#include <algorithm>
#include <cctype>

bool same_letter(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
}

bool starts_like(std::string_view text, std::string_view part) {
    return text.size() >= part.size() && std::equal(part.begin(), part.end(), text.begin(), same_letter);
}

bool contains_like(std::string_view text, std::string_view part) {
    return part.empty() ||
           std::search(text.begin(), text.end(), part.begin(), part.end(), same_letter) != text.end();
}

bool matches_pattern(const std::string &text, const std::string &pattern) {
    return ::fnmatch(pattern.c_str(), text.c_str(), FNM_CASEFOLD) == 0;
}
