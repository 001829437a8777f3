/*
 * Reads a file line by line in constant memory, however long its lines are. Knows nothing of what the
 * lines mean. One thread at a time.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/* The longest line that is handed out whole: more than any entry or record takes. */
inline constexpr size_t kLineMax = 1088;

struct Line {
    std::string_view text; /* without its LF; valid until the next line is read */
    uint64_t number;       /* from 1 */
    uint64_t end;          /* offset in the file behind the line and its LF */
    bool fits;             /* false: text is only the line's first kLineMax characters */
    bool ended;            /* false: the file's last line, which has no LF */
};

class LineReader {
  public:
    /* fd: stays the caller's; read from where it stands. */
    explicit LineReader(int fd) : fd_(fd) {}

    /* Reads the next line. Returns false at the file's end, or when it can't be read: see error. */
    bool next(Line &line);

    /* Returns 0, or the errno value of the read that failed. */
    int error() const { return error_; }

  private:
    bool fill();
    void keep(const char *text, size_t length);
    /* Takes what the buffer has of the line; returns whether its end was there. */
    bool take_piece();

    int fd_;
    int error_ = 0;
    size_t at_ = 0;
    size_t filled_ = 0;
    uint64_t number_ = 0;
    uint64_t offset_ = 0;
    size_t kept_ = 0;
    bool fits_ = true;
    std::array<char, 8192> buffer_;
    std::array<char, kLineMax> line_;
};
