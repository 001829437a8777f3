/*
 * Reads a log file to its end, and then as it grows. If it is replaced, as in a log rotation, or truncated,
 * reading starts at the beginning of the new file.
 */
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "cli/user_signals.h"
#include "log/line_splitter.h"
#include "support/unique_fd.h"

/* Receives a line; returns whether to continue. */
using LineTaker = std::function<bool(const std::string &line)>;

class LogFile {
  public:
    /* path: "-" for standard input. */
    explicit LogFile(std::string path) : path_(std::move(path)) {}

    /* Passes on all present lines, until take returns false. Returns "" or the problem. */
    std::string read(const LineTaker &take);

    /* Passes on the last line if it has no line end yet. */
    void read_rest(const LineTaker &take);

    /* Waits a moment, then passes on new lines. Returns "" or the problem. */
    std::string read_more(const SignalWatch &watch, const LineTaker &take);

  private:
    std::string open();
    bool is_another() const;

    const std::string path_;
    UniqueFd fd_;
    off_t at_ = 0;
    LineSplitter lines_;
};

/* The first of some files that exists; "" if none does. */
std::string first_file(const char *const *paths, size_t count);
