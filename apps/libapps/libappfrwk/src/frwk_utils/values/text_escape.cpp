/*
 * Escapes special characters. A pure function; any thread.
 */
#include <cstring>

#include "frwk_utils.h"

void frwk_utils_special_char_transform(const char *src, const char *specials, char *dst, int32_t size) {
    if (src == nullptr || src[0] == '\0' || dst == nullptr || size <= 0) {
        return;
    }

    int64_t written = 0; /* 64 bits, since the last escape may exceed the largest size */
    for (const char *next = src; *next != '\0' && written < size; ++next) {
        if (specials != nullptr && std::strchr(specials, *next) != nullptr) {
            dst[written++] = '\\';
        }
        dst[written++] = *next;
    }
}
