/*
 * A log file, read to its end and then as it grows. When another takes its name, as when logs are rotated, or
 * when it was emptied, it is read from its beginning.
 */
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "cli/user_signals.h"
#include "logtool/line_splitter.h"
#include "support/unique_fd.h"

/* Takes a line; returns whether it wants more of them. */
using LineTaker = std::function<bool(const std::string &line)>;

class LogFile {
  public:
    /* path: "-" for standard input. */
    explicit LogFile(std::string path) : path_(std::move(path)) {}

    /* Gives every line that there is, as long as they are wanted. Returns "" or why it can't be read. */
    std::string read(const LineTaker &take);

    /* Gives the last line, even if it has no line end yet. */
    void read_rest(const LineTaker &take);

    /* Waits a moment, then gives what came. Returns "" or why it can't be read. */
    std::string read_more(const SignalWatch &watch, const LineTaker &take);

  private:
    std::string open();
    bool is_another() const;

    const std::string path_;
    UniqueFd fd_;
    off_t at_ = 0;
    LineSplitter lines_;
};

/* The first of some files that is there; "" when none is. */
std::string first_file(const char *const *paths, size_t count);
