#include "utf8_text.h"

#include <algorithm>
#include <iterator>

namespace {

struct Range {
    uint32_t first;
    uint32_t last;
};

/* The characters to escape, in ascending order. A range may include unassigned characters. */
constexpr Range kNotShown[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x0600, 0x0605},
    {0x061C, 0x061C},   {0x06DD, 0x06DD},   {0x070F, 0x070F},   {0x0890, 0x0891},   {0x08E2, 0x08E2},
    {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E},
    {0x2060, 0x206F},   {0x3164, 0x3164},   {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
    {0xFFF9, 0xFFFB},   {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool continues(std::string_view text, size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0u) == 0x80u;
}

/* Whether a second byte may follow a lead byte: excludes overlong forms, surrogates and code points above
 * U+10FFFF. */
bool second_byte_fits(unsigned lead, unsigned second) {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second < 0xA0;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second < 0x90;
        default:
            return true;
    }
}

}  // namespace

size_t utf8_length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i) {
        if (!continues(text, i)) {
            return 0;
        }
    }
    return second_byte_fits(lead, static_cast<unsigned char>(text[1])) ? length : 0;
}

uint32_t utf8_code(std::string_view character) {
    constexpr uint32_t kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    uint32_t code = static_cast<unsigned char>(character[0]) & kLeadBits[character.size()];
    for (size_t i = 1; i < character.size(); ++i) {
        code = code << 6 | (static_cast<unsigned char>(character[i]) & 0x3Fu);
    }
    return code;
}

bool is_shown_as_it_is(std::string_view character) {
    const uint32_t code = utf8_code(character);
    const auto *next = std::find_if(std::begin(kNotShown), std::end(kNotShown),
                                    [code](const Range &range) { return code <= range.last; });
    return next == std::end(kNotShown) || code < next->first;
}
