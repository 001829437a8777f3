/*
 * Reads a file line by line with constant memory, however long its lines are. Does not interpret the lines,
 * but notes what other readers would take for the end of one. One thread at a time.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/* The longest line that is not truncated: longer than any entry or record. */
inline constexpr size_t kLineMax = 1088;

struct Line {
    std::string_view text; /* without its LF; valid until the next line is read */
    uint64_t number;       /* from 1 */
    uint64_t end;          /* file offset after the line and its LF */
    bool fits;             /* false: text is only the line's first kLineMax characters */
    bool is_broken; /* the part that does not fit, or the last character before it, has a CR that is not
                       the line's last character, or a NUL */
    bool ended;     /* false: the file's last line, which lacks its LF */
};

class LineReader {
  public:
    /* fd: owned by the caller; read from its current offset. */
    explicit LineReader(int fd) : fd_(fd) {}

    /* Reads the next line. Returns false at the end of the file, or on a read error: see error(). */
    bool next(Line &line);

    /* Returns 0, or the errno value of the read that failed. */
    int error() const { return error_; }

  private:
    bool fill();
    void keep(std::string_view piece);
    /* Notes whether the rest breaks the line. rest: a piece, not empty, that does not fit. */
    void look_at_rest(std::string_view rest);
    /* Appends the buffered part of the line; returns whether it contained the line's end. */
    bool take_piece();

    int fd_;
    int error_ = 0;
    size_t at_ = 0;
    size_t filled_ = 0;
    uint64_t number_ = 0;
    uint64_t offset_ = 0;
    size_t kept_ = 0;
    bool fits_ = true;
    bool broken_ = false;
    bool last_is_cr_ = false; /* the last character before the next piece of the rest */
    std::array<char, 8192> buffer_;
    std::array<char, kLineMax> line_;
};
