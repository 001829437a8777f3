#include "output/key_decoder.h"

namespace {

struct Sequence {
    const char *text; /* after Escape */
    Key key;
};

constexpr Sequence kSequences[] = {
    {"[A", kUp},        {"OA", kUp},   {"[B", kDown}, {"OB", kDown},  {"[5~", kPageUp},
    {"[6~", kPageDown}, {"[H", kHome}, {"OH", kHome}, {"[1~", kHome}, {"[7~", kHome},
    {"[F", kEnd},       {"OF", kEnd},  {"[4~", kEnd}, {"[8~", kEnd},
};

bool is_final(char byte) {
    return byte >= '@' && byte <= '~';
}

/* The length of the sequence that begins a text with Escape; 0 if its end is missing. */
size_t sequence_length(const std::string &text) {
    for (size_t i = 2; i < text.size(); ++i) {
        if (is_final(text[i])) {
            return i + 1;
        }
    }
    return 0;
}

int key_of(const std::string &sequence) {
    for (const Sequence &known : kSequences) {
        if (sequence == known.text) {
            return known.key;
        }
    }
    return kOtherKey;
}

}  // namespace

int KeyDecoder::next() {
    if (text_.empty()) {
        return kNoKey;
    }
    const auto byte = static_cast<unsigned char>(text_[0]);
    switch (byte) {
        case kEscape:
            return take_sequence();
        case '\r':
            return take(1, kEnter);
        case '\b':
            return take(1, kBackspace);
        default:
            return take(1, byte);
    }
}

int KeyDecoder::give_up() {
    text_.clear();
    return kEscape;
}

int KeyDecoder::take(size_t length, int key) {
    text_.erase(0, length);
    return key;
}

int KeyDecoder::take_sequence() {
    if (text_.size() == 1) {
        return kNoKey;
    }
    if (text_[1] != '[' && text_[1] != 'O') {
        return take(1, kEscape);
    }
    const size_t length = sequence_length(text_);
    return length > 0 ? take(length, key_of(text_.substr(1, length - 1))) : static_cast<int>(kNoKey);
}
