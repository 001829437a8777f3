/*
 * The formatted text of a printf-like call, for doubles of variadic functions.
 */
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

namespace doubles {

/* args: consumed. Returns "" if the text can't be formatted. */
inline std::string formatted_text(const char *format, va_list args) {
    va_list measured;
    va_copy(measured, args);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length <= 0) {
        return {};
    }

    std::string text(static_cast<size_t>(length) + 1, '\0');
    static_cast<void>(vsnprintf(text.data(), text.size(), format, args));
    text.pop_back();
    return text;
}

}  // namespace doubles
