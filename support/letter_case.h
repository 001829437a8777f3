/*
 * Compares texts, ignoring the case of the letters A to Z. strcasecmp(3) depends on the module's locale, in
 * which "DISABLE" and "disable" may differ, as in Turkish.
 */
#pragma once

#include <cstddef>
#include <cstdint>

inline char lower_letter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/* Whether the first length characters of two texts are equal, or both texts end before and are equal. */
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

/* Whether two texts are equal. */
inline bool same_ignoring_case(const char *left, const char *right) {
    return same_ignoring_case(left, right, SIZE_MAX);
}
