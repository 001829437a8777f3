#include "utf8.h"

namespace {

bool continues(const std::string &text, size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0u) == 0x80u;
}

/* The lowest and highest second byte that may follow a lead byte: shuts out overlong forms, surrogates and
 * what lies beyond U+10FFFF. */
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

size_t utf8_length(const std::string &text, size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i) {
        if (!continues(text, at + i)) {
            return 0;
        }
    }
    return second_byte_fits(lead, static_cast<unsigned char>(text[at + 1])) ? length : 0;
}
