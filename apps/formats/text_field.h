/*
 * Texts in fields of fixed size.
 */
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

/* Reads the text of a field that must hold a NUL. text: unchanged on failure. Returns false without one. */
inline bool field_text(const char *field, size_t size, std::string_view &text) {
    const void *end = std::memchr(field, '\0', size);
    if (end == nullptr) {
        return false;
    }
    text = {field, static_cast<size_t>(static_cast<const char *>(end) - field)};
    return true;
}
