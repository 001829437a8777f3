#include "formats/entry_line.h"

namespace {

/* The characters that end a line or a text. */
constexpr std::string_view kEnds("\r\n\0", 3);

std::string_view without_cr(std::string_view line) {
    return !line.empty() && line.back() == '\r' ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

const char *key_problem(std::string_view key) {
    if (key.empty()) {
        return "the key is empty";
    }
    if (key.size() >= ZNDB_KEY_LEN) {
        return "the key is too long";
    }
    if (key[0] == '#' || key[0] == ' ' || key[0] == '\t') {
        return "the key begins with '#' or a blank";
    }
    if (key.find('=') != std::string_view::npos) {
        return "the key holds '='";
    }
    if (key.find_first_of(kEnds) != std::string_view::npos) {
        return "the key holds a CR, LF or NUL";
    }
    return nullptr;
}

const char *value_problem(std::string_view value) {
    if (value.size() >= ZNDB_VALUE_LEN) {
        return "the value is too long";
    }
    if (value.find_first_of(kEnds) != std::string_view::npos) {
        return "the value holds a CR, LF or NUL";
    }
    return nullptr;
}

std::string_view entry_text(std::string_view line) {
    line = without_cr(line);
    return !line.empty() && line[0] == '#' ? std::string_view() : line;
}

const char *comment_problem(std::string_view line) {
    const bool goes_on = without_cr(line).find_first_of(kEnds) != std::string_view::npos;
    return goes_on ? kBrokenComment : nullptr;
}

bool split_entry(std::string_view text, Entry &entry) {
    const size_t split = text.find('=');
    if (split == std::string_view::npos) {
        return false;
    }
    entry = {text.substr(0, split), text.substr(split + 1)};
    return true;
}

const char *parse_entry(std::string_view text, Entry &entry) {
    Entry parts;
    if (!split_entry(text, parts)) {
        return "there is no '='";
    }
    if (const char *problem = key_problem(parts.key)) {
        return problem;
    }
    if (const char *problem = value_problem(parts.value)) {
        return problem;
    }
    entry = parts;
    return nullptr;
}

void append_entry(std::string &text, const Entry &entry) {
    text += entry.key;
    text += '=';
    text += entry.value;
    text += '\n';
}
