#include "output/cut_text.h"

namespace {

bool continues_a_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
}

}  // namespace

std::string cut_text(const std::string &text, size_t bytes) {
    if (text.size() <= bytes) {
        return text;
    }
    while (bytes > 0 && continues_a_character(text[bytes])) {
        --bytes;
    }
    return text.substr(0, bytes);
}
