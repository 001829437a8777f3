#include "frwk_dbrm/database_text.h"

#include <cstring>

#include "frwk_common.h"

namespace database_text {

namespace {

constexpr char kLineEnds[] = "\r\n";
constexpr char kComment = '#';

/* Ends the line that begins at text, and returns where the next one begins. */
char *cut_line(char *text) {
    char *end = text + std::strcspn(text, kLineEnds);
    const size_t line_ends = std::strspn(end, kLineEnds);
    std::memset(end, '\0', line_ends);
    return end + line_ends;
}

Found split_line(char *text, Line *line) {
    line->key = text;
    char *equals = std::strchr(text, '=');
    if (equals == nullptr) {
        return Found::kOther;
    }
    *equals = '\0';
    line->value = equals + 1;
    return Found::kPair;
}

}  // namespace

Found next_line(char **at, Line *line) {
    for (;;) {
        char *text = frwk_skip_space(*at);
        if (text == nullptr || *text == '\0') {
            return Found::kEnd;
        }
        *at = cut_line(text);
        if (*text != kComment) {
            return split_line(text, line);
        }
    }
}

}  // namespace database_text
