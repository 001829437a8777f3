#include "zndb_tool/entry_lines.h"

#include <sstream>
#include <string_view>

#include "formats/entry_line.h"

namespace {

/* what: "key" or "value". size: its maximum bytes, including the NUL. */
std::string unsendable(const std::string &what, const std::string &text, size_t size) {
    if (text.size() >= size) {
        return "the " + what + " has more than " + std::to_string(size - 1) + " characters";
    }
    return text.find('\0') == std::string::npos ? "" : "the " + what + " holds a NUL";
}

EntryLine parse_line(size_t number, std::string_view text) {
    Entry parts;
    if (!split_entry(text, parts)) {
        return {number, "", "", "there is no '='"};
    }
    EntryLine entry = {number, std::string(parts.key), std::string(parts.value), ""};
    entry.problem = unsendable_key(entry.key);
    if (entry.problem.empty()) {
        entry.problem = unsendable_value(entry.value);
    }
    return entry;
}

}  // namespace

std::vector<EntryLine> parse_entry_lines(const std::string &text) {
    std::vector<EntryLine> entries;
    std::istringstream lines(text);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::string_view said = entry_text(line);
        if (!said.empty()) {
            entries.push_back(parse_line(number, said));
        }
    }
    return entries;
}

std::string unsendable_key(const std::string &key) {
    return key.empty() ? "the key is empty" : unsendable("key", key, ZNDB_KEY_LEN);
}

std::string unsendable_value(const std::string &value) {
    return unsendable("value", value, ZNDB_VALUE_LEN);
}

std::string format_entries(const Entries &entries) {
    std::string text;
    for (const auto &[key, value] : entries) {
        append_entry(text, {key, value});
    }
    return text;
}
