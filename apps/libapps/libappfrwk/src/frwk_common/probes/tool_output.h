/*
 * Reads the output of a system tool line by line. One thread.
 */
#pragma once

#include <cstddef>

#include "internal/unique_pipe.h"

class ToolOutput {
  public:
    /* Starts a shell command with untranslated output; the destructor waits for its end. */
    explicit ToolOutput(const char *command);

    /* Whether the command could be started. */
    explicit operator bool() const { return static_cast<bool>(stream_); }

    /*
     * Reads the next line with its line end. The next call skips the part that doesn't fit.
     *
     * line: receives at most size - 1 bytes and a NUL; unchanged at the end of the output.
     * size: 2 or more.
     * Returns false at the end of the output, and after a read error, which is logged; a partial line is then
     * discarded and line is empty.
     */
    bool next_line(char *line, size_t size);

  private:
    bool failed() const;
    bool skip_rest();

    UniquePipe stream_;
    bool in_line_ = false; /* the rest of a line is still unread */
};
