#include "output/spelt_text.h"

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "utf8_text.h"

namespace {

constexpr uint32_t kFirstInPairs = 0x10000; /* from here on JSON needs a surrogate pair */

std::string spelt(const char *format, unsigned number) {
    char text[16];
    (void)std::snprintf(text, sizeof(text), format, number);
    return text;
}

std::string spelt_bytes(const std::string &bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += spelt("\\x%02x", static_cast<unsigned char>(byte));
    }
    return text;
}

std::string spelt_json(const std::string &character) {
    const uint32_t code = utf8_code(character);
    if (code < kFirstInPairs) {
        return spelt("\\u%04x", code);
    }
    const uint32_t offset = code - kFirstInPairs;
    return spelt("\\u%04x", 0xD800 + (offset >> 10)) + spelt("\\u%04x", 0xDC00 + (offset & 0x3FF));
}

using Spell = std::string (*)(const std::string &character);

enum class LineFeeds {
    kSpeltOut,
    kKept
};

std::string spelt_out_with(Spell spell, const std::string &text, LineFeeds line_feeds) {
    std::string all;
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8_length(std::string_view(text).substr(at));
        const std::string character = text.substr(at, length > 0 ? length : 1);
        const bool is_kept = (length > 0 && is_shown_as_it_is(character)) ||
                             (line_feeds == LineFeeds::kKept && character == "\n");
        all += is_kept ? character : spell(character);
        at += character.size();
    }
    return all;
}

}  // namespace

std::string spelt_out(const std::string &text) {
    return spelt_out_with(spelt_bytes, text, LineFeeds::kSpeltOut);
}

std::string spelt_out_lines(const std::string &text) {
    return spelt_out_with(spelt_bytes, text, LineFeeds::kKept);
}

std::string spelt_out_json(const std::string &json) {
    return spelt_out_with(spelt_json, json, LineFeeds::kKept);
}
