#include "formats/check_line.h"

#include <charconv>
#include <cstdio>

namespace {

constexpr std::string_view kStart = "#zndb ";
constexpr std::string_view kGeneration = " generation=";
constexpr std::string_view kCheck = " check=";
constexpr std::string_view kCarried = "#zndb line ";
constexpr size_t kDigits = 8;
constexpr int kDecimal = 10;
constexpr int kHexadecimal = 16;

bool begins_with(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/* Takes a text off the front. Returns false if the rest doesn't begin so. */
bool take(std::string_view &rest, std::string_view start) {
    const bool taken = begins_with(rest, start);
    rest.remove_prefix(taken ? start.size() : 0);
    return taken;
}

/* Takes a number off the front. */
template <typename Number>
bool take_number(std::string_view &rest, Number &number, int base) {
    const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), number, base);
    rest.remove_prefix(static_cast<size_t>(read.ptr - rest.data()));
    return read.ec == std::errc();
}

}  // namespace

bool is_zndb_comment(std::string_view line) {
    return begins_with(line, kStart);
}

bool begins_check_line(std::string_view line) {
    return begins_with(line, kCheckLineBegin);
}

bool read_check_line(std::string_view line, CheckLine &read) {
    CheckLine found;
    std::string_view rest = line;
    const size_t tail = kCheck.size() + kDigits;
    if (line.size() > kCheckLineMax || !take(rest, kCheckLineBegin) ||
        !take_number(rest, found.format, kDecimal) || !take(rest, kGeneration) ||
        !take_number(rest, found.generation, kDecimal) || rest.size() < tail) {
        return false;
    }
    const bool has_more = rest.size() > tail;
    if (has_more && rest[0] != ' ') {
        return false;
    }
    rest.remove_prefix(rest.size() - tail);
    found.covered = line.size() - kDigits - (kCheck.size() - 1);
    if (!take(rest, kCheck) || !take_number(rest, found.check, kHexadecimal) || !rest.empty()) {
        return false;
    }
    read = found;
    return true;
}

std::string check_line(uint64_t generation, const Crc32 &before) {
    std::string line(kCheckLineBegin);
    line += std::to_string(kStoreFormat);
    line += kGeneration;
    line += std::to_string(generation);
    line += ' ';
    Crc32 all = before;
    all.add(line);
    char digits[kDigits + 1] = "";
    (void)std::snprintf(digits, sizeof(digits), "%08x", all.value());
    return line + "check=" + digits + "\n";
}

std::string carried_line(std::string_view line) {
    const bool is_comment = begins_with(line, "#");
    return (is_comment ? "" : std::string(kCarried)) + std::string(line);
}

std::string_view carried_text(std::string_view line) {
    (void)take(line, kCarried);
    return line;
}
