/*
 * Splits pieces of text from a file or a pipe into lines. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

class LineSplitter {
  public:
    void add(const char *piece, size_t length);

    /* Returns the next complete line, without its line end. A line of more than 64 KiB is truncated. */
    bool next(std::string *line);

    /* Returns the text after the last line end. */
    std::string rest();

  private:
    std::string text_;
    size_t at_ = 0; /* beginning of the next line */
};
