/*
 * Bounded copies and trimming of texts.
 */
#include "text_copy.h"

#include <cstring>

namespace {

bool is_line_tail(char c) {
    return c == '\r' || c == '\n' || c == ' ' || c == '\t';
}

}  // namespace

char *strsncpy(char *dst, const char *src, size_t length) {
    const size_t copied = strnlen(src, length);
    memcpy(dst, src, copied);
    dst[copied] = '\0';
    return dst;
}

char *strdern(char *text, size_t length) {
    if (text == nullptr) {
        return nullptr;
    }
    while (length > 0 && is_line_tail(text[length - 1])) {
        text[--length] = '\0';
    }
    return text;
}
