/*
 * A line of the log under construction, in a buffer of its own: nothing here takes memory. One thread at a
 * time.
 */
#pragma once

#include <charconv>
#include <cstddef>
#include <cstring>
#include <iterator>

/* A whole line. Lines of this size reach a pipe in one piece (PIPE_BUF). */
inline constexpr size_t kLogLineMax = 4096;

/* Always NUL-terminated. What does not fit is cut, and the cut is marked. */
class LogText {
  public:
    void clear() {
        length_ = 0;
        is_cut_ = false;
        bytes_[0] = '\0';
    }

    void add(const char *text) {
        for (; *text != '\0'; ++text) {
            add_char(*text);
        }
    }

    /* Adds text from outside: whatever it holds, it stays on this line. */
    void add_escaped(const char *text) {
        for (; *text != '\0'; ++text) {
            add_escaped_char(*text);
        }
    }

    void add_number(long number) {
        char digits[24] = "";
        std::to_chars(std::begin(digits), std::end(digits) - 1, number);
        add(digits);
    }

    /* Says that the text goes on, whether or not this line has room. */
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
    static constexpr char kHexDigits[] = "0123456789abcdef";
    static constexpr size_t kRoom = kLogLineMax - sizeof(kCutMark) - 1;

    void append(const char *bytes, size_t count) {
        memcpy(bytes_ + length_, bytes, count);
        length_ += count;
        bytes_[length_] = '\0';
    }

    void add_char(char c) {
        if (is_cut_) {
            return;
        }
        if (length_ == kRoom) {
            mark_cut();
            return;
        }
        append(&c, 1);
    }

    void add_escaped_char(char c) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            add("\\n");
        } else if (c == '\r') {
            add("\\r");
        } else if (byte < ' ' || byte == 0x7F) {
            const char escape[] = {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0xF], '\0'};
            add(escape);
        } else {
            add_char(c);
        }
    }

    char bytes_[kLogLineMax] = "";
    size_t length_ = 0;
    bool is_cut_ = false;
};
