/*
 * Builds a log line in a fixed buffer, without heap memory. One thread at a time.
 */
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>

#include "utf8_text.h"

/* The longest line, in bytes. Writes of up to this size to a pipe are atomic (PIPE_BUF). */
inline constexpr size_t kLogLineMax = 4096;

/* Always NUL-terminated. A text that does not fit is truncated, and "..." marks that. */
class LogText {
  public:
    void clear() {
        length_ = 0;
        is_cut_ = false;
        bytes_[0] = '\0';
    }

    void add(const char *text) { add_plain(text); }

    /*
     * Adds text from outside. Escapes everything that would start another line or control a terminal. Keeps
     * bytes that are not UTF-8, except those that an 8-bit terminal treats as control characters.
     */
    void add_escaped(const char *text) {
        for (std::string_view left = text; !left.empty();) {
            const size_t plain = plain_length(left);
            add_plain(left.substr(0, plain));
            left.remove_prefix(plain);
            if (left.empty()) {
                return;
            }
            const size_t length = utf8_length(left);
            if (length == 0) {
                add_stray_byte(left[0]);
            } else {
                add_character({left.data(), length});
            }
            left.remove_prefix(length > 0 ? length : 1);
        }
    }

    void add_number(long number) {
        char digits[24] = "";
        std::to_chars(std::begin(digits), std::end(digits) - 1, number);
        add(digits);
    }

    /* Marks the line as truncated, even if it has room left. */
    void mark_cut() {
        if (!is_cut_) {
            is_cut_ = true;
            append(kCutMark, sizeof(kCutMark) - 1);
        }
    }

    /* Ends the line; there is always room for it. */
    void end() { append("\n", 1); }

    const char *text() const { return bytes_; }
    size_t length() const { return length_; }
    bool equals(const LogText &other) const {
        return length_ == other.length_ && memcmp(bytes_, other.bytes_, length_) == 0;
    }

  private:
    static constexpr char kCutMark[] = "...";
    static constexpr unsigned char kC1End = 0xA0; /* the first byte after the control characters above 127 */
    static constexpr char kHexDigits[] = "0123456789abcdef";
    static constexpr size_t kRoom = kLogLineMax - sizeof(kCutMark) - 1;

    void append(const char *bytes, size_t count) {
        memcpy(bytes_ + length_, bytes, count);
        length_ += count;
        bytes_[length_] = '\0';
    }

    /* Adds the bytes of one character, all or none of them. */
    void add_whole(std::string_view character) {
        if (is_cut_) {
            return;
        }
        if (length_ + character.size() > kRoom) {
            mark_cut();
            return;
        }
        append(character.data(), character.size());
    }

    /* The length of the printable ASCII prefix, which is nearly all of most lines. */
    static size_t plain_length(std::string_view text) {
        size_t length = 0;
        while (length < text.size() && text[length] >= ' ' && text[length] <= '~') {
            ++length;
        }
        return length;
    }

    /* Adds as many of these bytes as fit. */
    void add_plain(std::string_view bytes) {
        if (is_cut_) {
            return;
        }
        const size_t count = std::min(bytes.size(), kRoom - length_);
        append(bytes.data(), count);
        if (count < bytes.size()) {
            mark_cut();
        }
    }

    void add_char(char c) { add_whole({&c, 1}); }

    /* character: in UTF-8. */
    void add_character(std::string_view character) {
        if (is_shown_as_it_is(character)) {
            add_whole(character);
            return;
        }
        for (const char byte : character) {
            add_escaped_byte(byte);
        }
    }

    /* byte: not part of a character in UTF-8. */
    void add_stray_byte(char byte) {
        if (static_cast<unsigned char>(byte) >= kC1End) {
            add_char(byte);
        } else {
            add_escaped_byte(byte);
        }
    }

    void add_escaped_byte(char c) {
        if (c == '\n') {
            add("\\n");
        } else if (c == '\r') {
            add("\\r");
        } else {
            const auto byte = static_cast<unsigned char>(c);
            const char escape[] = {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0xF], '\0'};
            add(escape);
        }
    }

    char bytes_[kLogLineMax] = "";
    size_t length_ = 0;
    bool is_cut_ = false;
};
