/*
 * Scans texts: blanks, tokens, the text between markers, the value after a name, the file name of a path.
 * Pure functions; any thread.
 */
#include <algorithm>
#include <climits>
#include <cstring>

#include "frwk_common.h"
#include "internal/frwk_log.h"
#include "text_copy.h"

namespace {

constexpr char kBlanks[] = " \t";

/* Like strchr, the public calls return a non-const pointer into the caller's text. */
char *caller_text(const char *text) {
    return const_cast<char *>(text);
}

bool has_text(const char *text) {
    return text != nullptr && text[0] != '\0';
}

void clear_text(char *out, int32_t size) {
    if (size > 0) {
        out[0] = '\0';
    }
}

/* Whether length characters and their NUL fit a buffer of size bytes. */
bool fits(size_t length, int32_t size) {
    return size > 0 && length < static_cast<size_t>(size);
}

/* Converts a length for printf. */
int shown(size_t length) {
    return static_cast<int>(std::min<size_t>(length, INT_MAX));
}

/* The length of a value: up to its closing quote, or up to the next comma. */
size_t value_length(const char *value, char quote) {
    const char closing[] = {quote != '\0' ? quote : ',', '\0'};
    return std::strcspn(value, closing);
}

}  // namespace

char *frwk_skip_space(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    return caller_text(text + std::strspn(text, kBlanks));
}

char *frwk_skip_next_space(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }

    const char *token_end = text + std::strcspn(text, kBlanks);
    if (*token_end == '\0') {
        return nullptr;
    }
    return frwk_skip_space(token_end);
}

int32_t frwk_str_pick(const char *src, const char *begin, const char *end, char *out, int32_t size) {
    if (out == nullptr) {
        return 0;
    }
    clear_text(out, size);
    if (src == nullptr) {
        return 0;
    }

    const char *start = src;
    if (has_text(begin)) {
        const char *found = std::strstr(src, begin);
        if (found == nullptr) {
            return 0;
        }
        start = found + std::strlen(begin);
    }

    const char *stop = has_text(end) ? std::strstr(start, end) : start + std::strlen(start);
    if (stop == nullptr) {
        return 0;
    }

    const size_t length = static_cast<size_t>(stop - start);
    if (!fits(length, size)) {
        FRWK_WARN(__func__, "buffer not big enough(%d/%d)!", shown(length), size);
        return 0;
    }
    strsncpy(out, start, length);
    return 1;
}

int32_t frwk_str_pick_value(const char *src, const char *name, char *out, int32_t size) {
    if (src == nullptr || name == nullptr || out == nullptr) {
        FRWK_WARN_FAILED(__func__, "src && name && out", "parameter is null");
        return 0;
    }
    clear_text(out, size);

    const char *tag = std::strstr(src, name);
    if (tag == nullptr) {
        FRWK_WARN(__func__, "can't found tag '%s'!", name);
        return 0;
    }

    const char *value = tag + std::strlen(name);
    const char quote = (*value == '\'' || *value == '"') ? *value : '\0';
    if (quote != '\0') {
        ++value;
    }

    const size_t length = value_length(value, quote);
    if (!fits(length, size)) {
        FRWK_WARN_FAILED(__func__, "len < size", "OUT OF BUFF!");
        return 0;
    }
    strsncpy(out, value, length);
    return 1;
}

const char *frwk_get_filename(const char *path) {
    if (path == nullptr) {
        return "";
    }

    const char *name = path;
    for (const char *next = path; *next != '\0'; ++next) {
        if (*next == '/' || *next == '\\') {
            name = next + 1;
        }
    }
    return name;
}
