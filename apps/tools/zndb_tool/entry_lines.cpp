#include "zndb_tool/entry_lines.h"

#include <sstream>

#include "zndb.h"

namespace {

/* what: "key" or "value". size: its maximum bytes, including the NUL. */
std::string unsendable(const std::string &what, const std::string &text, size_t size) {
    if (text.size() >= size) {
        return "the " + what + " has more than " + std::to_string(size - 1) + " characters";
    }
    return text.find('\0') == std::string::npos ? "" : "the " + what + " holds a NUL";
}

EntryLine parse_line(size_t number, const std::string &line) {
    const size_t split = line.find('=');
    if (split == std::string::npos) {
        return {number, "", "", "there is no '='"};
    }
    EntryLine entry = {number, line.substr(0, split), line.substr(split + 1), ""};
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
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty() && line[0] != '#') {
            entries.push_back(parse_line(number, line));
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
        text.append(key).append("=").append(value).append("\n");
    }
    return text;
}
