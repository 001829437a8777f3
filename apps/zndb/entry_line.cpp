#include "entry_line.h"

#include "zndb.h"

namespace {

/* The characters that end a line or a text. */
constexpr std::string_view kEnds("\r\n\0", 3);

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

const char *parse_entry(std::string_view line, Entry &entry) {
    const size_t split = line.find('=');
    if (split == std::string_view::npos) {
        return "there is no '='";
    }

    const Entry parts = {line.substr(0, split), line.substr(split + 1)};
    if (const char *problem = key_problem(parts.key)) {
        return problem;
    }
    if (const char *problem = value_problem(parts.value)) {
        return problem;
    }
    entry = parts;
    return nullptr;
}
