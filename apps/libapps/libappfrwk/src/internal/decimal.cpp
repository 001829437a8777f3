/*
 * Parses decimal numbers. Any 19 digits fit into 64 bits, so only longer numbers are checked for overflow.
 */
#include "internal/decimal.h"

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

DecimalDigits decimal_digits(const char *text) {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        ++text;
    }
    DecimalDigits number = {0, *text == '-', true};
    if (*text == '-' || *text == '+') {
        ++text;
    }
    constexpr int kAlwaysFit = 19;
    for (int digits = 0; digits < kAlwaysFit && is_digit(*text); ++digits, ++text) {
        number.magnitude = number.magnitude * 10 + static_cast<unsigned>(*text - '0');
    }
    for (; is_digit(*text); ++text) {
        const auto digit = static_cast<unsigned>(*text - '0');
        number.fits = number.fits && !__builtin_mul_overflow(number.magnitude, 10u, &number.magnitude) &&
                      !__builtin_add_overflow(number.magnitude, digit, &number.magnitude);
    }
    return number;
}
