/*
 * Decimal numbers in texts from outside.
 */
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

/*
 * The number that a text begins with; 0 when it begins with none. Blanks and a sign may come first, and any
 * other character ends it. The device's long has 32 bits: a number beyond them is the nearest that fits.
 */
inline int32_t decimal_number(const char *text) {
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<int32_t>(std::clamp<long long>(number, INT32_MIN, INT32_MAX));
}
