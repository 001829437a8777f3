/*
 * Decimal numbers in texts from outside.
 *
 * They are parsed as by strtol and similar functions with base 10: leading white space and a sign are
 * accepted, any other character ends the number, and no digits mean 0. A number out of range becomes the
 * nearest limit, for unsigned types always the largest number. The functions don't depend on the locale and
 * don't set errno.
 */
#pragma once

#include <algorithm>
#include <cstdint>

/* A number's magnitude and sign; the magnitude is undefined if it doesn't fit. */
struct DecimalDigits {
    uint64_t magnitude;
    bool negative;
    bool fits;
};

/* Parses the number at the beginning of a text. */
DecimalDigits decimal_digits(const char *text);

/* The 64-bit number at the beginning of a text. */
inline int64_t decimal_long_number(const char *text) {
    const DecimalDigits number = decimal_digits(text);
    constexpr uint64_t kMost = INT64_MAX;
    if (number.negative) {
        const bool fits = number.fits && number.magnitude <= kMost;
        return fits ? -static_cast<int64_t>(number.magnitude) : INT64_MIN;
    }
    return static_cast<int64_t>(number.fits ? std::min(number.magnitude, kMost) : kMost);
}

/* The same for unsigned 64 bits; a minus negates the number within them. */
inline uint64_t decimal_unsigned_number(const char *text) {
    const DecimalDigits number = decimal_digits(text);
    if (!number.fits) {
        return UINT64_MAX;
    }
    return number.negative ? -number.magnitude : number.magnitude;
}

/* The same for 32 bits, the size of the device's long. */
inline int32_t decimal_number(const char *text) {
    return static_cast<int32_t>(std::clamp<int64_t>(decimal_long_number(text), INT32_MIN, INT32_MAX));
}
