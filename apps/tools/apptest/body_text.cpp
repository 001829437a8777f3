#include "apptest/body_text.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "output/cut_text.h"
#include "utf8_text.h"

namespace {

constexpr size_t kDumpWidth = 16;
constexpr size_t kNarrowestDump = 4;
constexpr size_t kOffsetColumns = 9;
constexpr size_t kColumnsPerByte = 4; /* two digits, a blank and the character */
constexpr size_t kLineBytes = 64;

bool is_separator(char character) {
    return character == ' ' || character == ':';
}

bool is_printable(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code >= 0x20 && code != 0x7F;
}

/* The bytes of a line: a power of two. */
size_t dump_width(size_t columns) {
    size_t width = kDumpWidth;
    while (width > kNarrowestDump && kOffsetColumns + kColumnsPerByte * width + 2 > columns) {
        width /= 2;
    }
    return width;
}

/* One line of a dump: offset, bytes and characters. */
std::string dump_line(size_t offset, const std::string &bytes, size_t width) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%08zx ", offset);
    std::string line = text;
    std::string characters;
    for (const char byte : bytes) {
        (void)std::snprintf(text, sizeof(text), " %02x", static_cast<unsigned>(byte) & 0xFFu);
        line += text;
        const bool ascii = is_printable(byte) && static_cast<unsigned char>(byte) < 0x80;
        characters += ascii ? byte : '.';
    }
    line.resize(kOffsetColumns + 3 * width, ' ');
    return line + "  " + characters + "\n";
}

}  // namespace

std::string bytes_from_hex(const std::string &digits, std::string *bytes) {
    std::string read;
    for (size_t at = 0; at < digits.size();) {
        if (is_separator(digits[at])) {
            ++at;
            continue;
        }
        const std::string pair = digits.substr(at, 2);
        if (pair.size() != 2 || std::isxdigit(static_cast<unsigned char>(pair[0])) == 0 ||
            std::isxdigit(static_cast<unsigned char>(pair[1])) == 0) {
            return "'" + pair + "' is not a hexadecimal byte";
        }
        read += static_cast<char>(std::strtoul(pair.c_str(), nullptr, 16));
        at += 2;
    }
    *bytes = read;
    return "";
}

std::string bytes_from_numbers(const std::string &numbers, std::string *bytes) {
    std::string spaced = numbers;
    std::replace(spaced.begin(), spaced.end(), ',', ' ');
    std::istringstream words(spaced);
    std::string read;
    for (std::string word; words >> word;) {
        char *end = nullptr;
        errno = 0;
        const long long value = std::strtoll(word.c_str(), &end, 0);
        if (*end != '\0' || errno != 0 || value < INT32_MIN || value > UINT32_MAX) {
            return "'" + word + "' is not a 32-bit number";
        }
        const auto bits = static_cast<uint32_t>(value);
        read.append(reinterpret_cast<const char *>(&bits), sizeof(bits));
    }
    *bytes = read;
    return "";
}

std::string hex_of(const std::string &bytes) {
    std::string text;
    for (const char byte : bytes) {
        char digits[4];
        (void)std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned>(byte) & 0xFFu);
        text += digits;
    }
    return text;
}

std::string hex_dump(const std::string &bytes, size_t columns) {
    const std::string shown = without_nuls(bytes);
    std::string text;
    const size_t width = dump_width(columns);
    for (size_t at = 0; at < shown.size(); at += width) {
        text += dump_line(at, shown.substr(at, width), width);
    }
    const size_t zeros = bytes.size() - shown.size();
    return zeros == 0
               ? text
               : text + "(" + std::to_string(zeros) + (zeros == 1 ? " zero byte)\n" : " zero bytes)\n");
}

bool is_text(const std::string &bytes) {
    const std::string text = without_nuls(bytes);
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8_length(std::string_view(text).substr(at));
        if (length == 0 || !is_printable(text[at])) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string without_nuls(const std::string &bytes) {
    return bytes.substr(0, bytes.find_last_not_of('\0') + 1);
}

std::string body_line(const std::string &bytes) {
    const std::string shown = is_text(bytes) ? without_nuls(bytes) : hex_of(bytes);
    return shown.size() <= kLineBytes ? shown : cut_text(shown, kLineBytes) + "...";
}
