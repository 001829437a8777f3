/*
 * A terminal that accepts only text and the tool's own escape sequences, and no character that changes the
 * direction of others, is invisible or controls the terminal. It has its own UTF-8 decoder, to check the one
 * of the tools.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/fuzz_input.h"

/* The handling of bytes that are not UTF-8. */
enum class Malformed {
    kRefused,
    kTakenAboveC1 /* refused only if an 8-bit terminal treats them as control characters */
};

class StrictTerminal {
  public:
    explicit StrictTerminal(Malformed malformed = Malformed::kRefused) : malformed_(malformed) {}

    /* Checks the output of a tool. Ends the run if it is not allowed. */
    void take(const std::string &bytes) {
        for (size_t at = 0; at < bytes.size();) {
            at += bytes[at] == '\033' ? sequence_length(bytes, at) : character_length(bytes, at);
        }
    }

    /* The number of escape sequences so far. The caller knows how many the tool prints. */
    size_t sequences() const { return sequences_; }

  private:
    size_t sequence_length(const std::string &bytes, size_t begin) {
        ++sequences_;
        FUZZ_CHECK(begin + 1 < bytes.size() && bytes[begin + 1] == '[');
        const size_t end = bytes.find_first_not_of("?;0123456789", begin + 2);
        FUZZ_CHECK(end != std::string::npos);
        return end + 1 - begin;
    }

    size_t character_length(const std::string &bytes, size_t begin) const {
        const auto lead = static_cast<unsigned char>(bytes[begin]);
        if (lead < 0x80) {
            FUZZ_CHECK(lead == '\n' || (lead >= 0x20 && lead < 0x7F));
            return 1;
        }
        const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        uint32_t code = lead & (0xFFu >> (length + 1));
        for (size_t i = 1; i < length; ++i) {
            if (lead < 0xC2 || lead > 0xF4 || begin + i >= bytes.size() ||
                (bytes[begin + i] & 0xC0) != 0x80) {
                return malformed_length(lead);
            }
            code = code << 6 | (static_cast<unsigned char>(bytes[begin + i]) & 0x3Fu);
        }
        constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return malformed_length(lead);
        }
        FUZZ_CHECK(!acts(code));
        return length;
    }

    size_t malformed_length(unsigned char byte) const {
        FUZZ_CHECK(malformed_ == Malformed::kTakenAboveC1 && byte >= 0xA0);
        return 1;
    }

    static bool acts(uint32_t code) {
        const bool controls = code < 0xA0;
        const bool turns = code == 0x61C || (code >= 0x200E && code <= 0x200F) ||
                           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
        const bool hides = code == 0xAD || (code >= 0x200B && code <= 0x200D) ||
                           (code >= 0x2028 && code <= 0x2029) || (code >= 0x2060 && code <= 0x206F) ||
                           code == 0xFEFF || (code >= 0xFFF9 && code <= 0xFFFB) ||
                           (code >= 0xE0000 && code <= 0xE007F);
        return controls || turns || hides;
    }

    const Malformed malformed_;
    size_t sequences_ = 0;
};
