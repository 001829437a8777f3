#include "frwk_dbrm/format/database_text.h"

#include <algorithm>
#include <cstring>

#include "formats/entry_line.h"
#include "frwk_common.h"
#include "zndb.h"

namespace database_text {

namespace {

constexpr char kLineEnds[] = "\r\n";
constexpr char kBlanks[] = " \t"; /* the same as in frwk_skip_space */
constexpr char kComment = '#';

/* Terminates the line that begins at text, and returns the beginning of the next line. */
char *cut_line(char *text, Line *line) {
    line->number = line->next;
    char *end = text + std::strcspn(text, kLineEnds);
    for (; *end == '\r' || *end == '\n'; ++end) {
        line->next += *end == '\n' ? 1 : 0;
        *end = '\0';
    }
    return end;
}

Found split_line(char *text, Line *line) {
    line->key = text;
    line->value = "";
    char *equals = std::strchr(text, '=');
    if (equals == nullptr) {
        return Found::kOther;
    }
    *equals = '\0';
    line->value = equals + 1;
    return Found::kPair;
}

/* The reason why the database would refuse a key and its value; null if it would accept them. keys: their
 * number with this one, since the database writes each key once. */
const char *objection_to(const Line &line, size_t keys) {
    if (*line.key == '\0') {
        return "the key is empty";
    }
    if (std::strlen(line.key) >= ZNDB_KEY_LEN) {
        return "the key is too long";
    }
    if (std::strlen(line.value) >= ZNDB_VALUE_LEN) {
        return "the value is too long";
    }
    return keys > kStoreKeysMax ? "there are more keys than a store holds" : nullptr;
}

/* Why the database and a restore read a line differently; null if they don't. line: without its LF. */
const char *difference_in(std::string_view line) {
    const size_t cr = line.find('\r');
    if (cr != std::string_view::npos && cr + 1 != line.size()) {
        return "there is a CR within the line";
    }
    const size_t begin = line.find_first_not_of(kBlanks);
    const bool is_read = begin != std::string_view::npos && line[begin] != kComment && line[begin] != '\r';
    return is_read && begin > 0 ? "there is a blank before the key" : nullptr;
}

}  // namespace

Found next_line(char **at, Line *line) {
    for (;;) {
        char *text = frwk_skip_space(*at);
        if (text == nullptr || *text == '\0') {
            return Found::kEnd;
        }
        *at = cut_line(text, line);
        if (*text != kComment) {
            return split_line(text, line);
        }
    }
}

size_t passed(const char *text, Found last, const char *at, const Line &line) {
    const char *end = last == Found::kEnd ? at + std::strspn(at, kBlanks) : line.key;
    return static_cast<size_t>(end - text);
}

Stop find_stop(char *text, size_t length) {
    char *at = text;
    Line line;
    for (size_t keys = 1;; ++keys) {
        const Found found = next_line(&at, &line);
        const size_t bytes = passed(text, found, at, line);
        if (found == Found::kEnd) {
            return bytes == length ? Stop() : Stop{"a NUL ends the text", line.next, bytes};
        }
        const char *reason = found == Found::kOther ? "there is no '='" : objection_to(line, keys);
        if (reason != nullptr) {
            return {reason, line.number, bytes};
        }
    }
}

Difference find_difference(std::string_view text) {
    std::string_view left = text.substr(0, text.find('\0'));
    for (unsigned number = 1; !left.empty(); ++number) {
        const std::string_view line = left.substr(0, left.find('\n'));
        if (const char *reason = difference_in(line)) {
            return {reason, number};
        }
        left.remove_prefix(std::min(line.size() + 1, left.size()));
    }
    return {};
}

Losses find_losses(char *text, size_t length) {
    Losses losses;
    losses.difference = find_difference({text, length});
    losses.stop = find_stop(text, length);
    if (losses.stop.reason != nullptr && losses.stop.line < losses.difference.line) {
        losses.difference = {};
    }
    return losses;
}

}  // namespace database_text
