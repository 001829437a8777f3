/*
 * Lines out of pieces of text, as they come from a file or a pipe. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

class LineSplitter {
  public:
    void add(const char *piece, size_t length);

    /* Takes the next whole line, without its line end. A line of more than 64 KiB is cut. */
    bool next(std::string *line);

    /* Takes what stands behind the last line end; "" for nothing. */
    std::string rest();

  private:
    std::string text_;
    size_t at_ = 0; /* where the next line begins */
};
