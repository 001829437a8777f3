/*
 * Lines of the log that are wanted, printed as they come or kept until it is known which are the last.
 */
#pragma once

#include <cstddef>
#include <deque>

#include "logtool/log_filter.h"

class LogOutput {
  public:
    /* last: how many of the lines so far are printed by flush; 0 prints each at once. json: objects. */
    LogOutput(LogFilter filter, size_t last, bool json);

    /* Takes a line. Returns whether the output still works. */
    bool take(const LogRecord &line);

    /* Prints what was kept; from now on each line is printed at once, and seen at once. */
    bool flush();

    /* Why the output doesn't work any more, an errno value; 0 while it does. */
    int error() const { return error_; }

    /* Lines that were left out because they don't say their level. */
    size_t without_level() const { return without_level_; }

  private:
    bool print(const LogRecord &line);

    const LogFilter filter_;
    size_t last_;
    const bool json_;
    std::deque<LogRecord> kept_;
    bool live_ = false;
    int error_ = 0;
    size_t without_level_ = 0;
};
