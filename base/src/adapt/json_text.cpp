/*
 * Skips JSON tokens. The first character determines the kind of token.
 */
#include "json_text.h"

#include <cstddef>
#include <cstring>

namespace json_text {

namespace {

constexpr char kHighest[] = "9223372036854775807";
constexpr char kLowest[] = "9223372036854775808";
constexpr size_t kLimitDigits = sizeof(kHighest) - 1;

constexpr char kNulEscape[] = "\\u0000";

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

const char *skip_digits(const char *at) {
    while (is_digit(*at)) {
        ++at;
    }
    return at;
}

/* Skips a decimal point and its digits. Returns null if no digit follows. */
const char *skip_fraction(const char *at) {
    if (*at != '.') {
        return at;
    }
    return is_digit(at[1]) ? skip_digits(at + 1) : nullptr;
}

/* Returns null if the exponent has no digits. */
const char *skip_exponent(const char *at) {
    if (*at != 'e' && *at != 'E') {
        return at;
    }
    ++at;
    at += *at == '+' || *at == '-' ? 1 : 0;
    return is_digit(*at) ? skip_digits(at) : nullptr;
}

/* digits: without leading zeros. */
bool is_beyond_int64(const char *digits, size_t count, bool negative) {
    if (count != kLimitDigits) {
        return count > kLimitDigits;
    }
    return strncmp(digits, negative ? kLowest : kHighest, count) > 0;
}

Token skip_number(const char **at) {
    const bool negative = **at == '-';
    const char *digits = *at + (negative ? 1 : 0);
    const char *integer_end = skip_digits(digits);
    const auto count = static_cast<size_t>(integer_end - digits);
    if (count == 0 || (*digits == '0' && count > 1)) {
        return Token::kBad;
    }

    const char *end = skip_fraction(integer_end);
    end = end != nullptr ? skip_exponent(end) : nullptr;
    if (end == nullptr) {
        return Token::kBad;
    }
    *at = end;
    return end == integer_end && is_beyond_int64(digits, count, negative) ? Token::kLongInteger
                                                                          : Token::kPlain;
}

/* json-c checks which escapes are valid; no escape ends the string. */
Token skip_string(const char **at) {
    const char *c = *at + 1;
    while (*c != '"') {
        const bool escaped = *c == '\\';
        if (escaped && strncmp(c, kNulEscape, sizeof(kNulEscape) - 1) == 0) {
            return Token::kBad;
        }
        c += escaped ? 1 : 0;
        if (static_cast<unsigned char>(*c) < ' ') {
            return Token::kBad;
        }
        ++c;
    }
    *at = c + 1;
    return Token::kPlain;
}

}  // namespace

Token skip_token(const char **at) {
    const char first = **at;
    if (first == '"') {
        return skip_string(at);
    }
    if (first == '-' || is_digit(first)) {
        return skip_number(at);
    }

    switch (first) {
        case '\0':
            return Token::kEnd;
        case '\'': /* strings in single quotes */
        case 'I':  /* Infinity */
        case 'N':  /* NaN */
            return Token::kBad;
        case ',':
        case '[':
        case '{':
            ++*at;
            return Token::kBeforeItem;
        default:
            ++*at;
            return Token::kPlain;
    }
}

}  // namespace json_text
