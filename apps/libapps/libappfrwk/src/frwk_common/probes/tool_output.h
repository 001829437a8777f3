/*
 * The output of a system tool, line by line. For one thread.
 */
#pragma once

#include <cstddef>

#include "internal/unique_pipe.h"

class ToolOutput {
  public:
    /* Starts a shell command, which answers untranslated; the end of the scope waits for its end. */
    explicit ToolOutput(const char *command);

    /* Whether the command could be started. */
    explicit operator bool() const { return static_cast<bool>(stream_); }

    /*
     * Reads the next line with its line end. What doesn't fit is passed over by the next call.
     *
     * line: receives at most size - 1 bytes and a NUL; unchanged at the end of the output.
     * size: 2 or more.
     * Returns false at the end of the output, and, logged, when reading fails: a part of a line is no line,
     * and leaves an empty one.
     */
    bool next_line(char *line, size_t size);

  private:
    bool failed() const;
    bool skip_rest();

    UniquePipe stream_;
    bool in_line_ = false; /* a line was begun and has not ended */
};
