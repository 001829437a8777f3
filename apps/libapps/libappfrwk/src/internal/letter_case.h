/*
 * Texts compared without regard to the case of the letters A to Z. strcasecmp(3) and its sibling ask the
 * module's locale, in which "DISABLE" may be another word than "disable", as in Turkish.
 */
#pragma once

#include <cstddef>
#include <cstdint>

inline char lower_letter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/* Whether the first length characters of two texts are the same, or both end before. */
inline bool same_ignoring_case(const char *left, const char *right, size_t length) {
    for (; length > 0; --length, ++left, ++right) {
        if (*left != *right && lower_letter(*left) != lower_letter(*right)) {
            return false;
        }
        if (*left == '\0') {
            return true;
        }
    }
    return true;
}

/* Whether two texts are the same. */
inline bool same_ignoring_case(const char *left, const char *right) {
    return same_ignoring_case(left, right, SIZE_MAX);
}
