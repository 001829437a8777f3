/*
 * Decimal numbers in texts from outside.
 *
 * They read as strtol and its siblings with base 10: blanks and a sign may come first, any other character
 * ends the number, no digits at all are 0, and what does not fit is the nearest that does, or for unsigned
 * types the largest, whatever its sign. Unlike them they ask for no locale and set no errno.
 */
#pragma once

#include <algorithm>
#include <cstdint>

/* A number's magnitude and sign; the magnitude means nothing where it doesn't fit. */
struct DecimalDigits {
    uint64_t magnitude;
    bool negative;
    bool fits;
};

/* Reads the number that a text begins with. */
DecimalDigits decimal_digits(const char *text);

/* The number that a text begins with, of 64 bits. */
inline int64_t decimal_long_number(const char *text) {
    const DecimalDigits number = decimal_digits(text);
    constexpr uint64_t kMost = INT64_MAX;
    if (number.negative) {
        const bool fits = number.fits && number.magnitude <= kMost;
        return fits ? -static_cast<int64_t>(number.magnitude) : INT64_MIN;
    }
    return static_cast<int64_t>(number.fits ? std::min(number.magnitude, kMost) : kMost);
}

/* The same of 64 bits without a sign; a minus negates it within them. */
inline uint64_t decimal_unsigned_number(const char *text) {
    const DecimalDigits number = decimal_digits(text);
    if (!number.fits) {
        return UINT64_MAX;
    }
    return number.negative ? -number.magnitude : number.magnitude;
}

/* The same of 32 bits, which the device's long has. */
inline int32_t decimal_number(const char *text) {
    return static_cast<int32_t>(std::clamp<int64_t>(decimal_long_number(text), INT32_MIN, INT32_MAX));
}
