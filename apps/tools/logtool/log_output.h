/*
 * Prints the selected lines of the log at once, or keeps them until it is known which are the last ones.
 */
#pragma once

#include <cstddef>
#include <deque>

#include "log/log_period.h"
#include "logtool/log_filter.h"

class LogOutput {
  public:
    /* last: number of last lines that flush prints; 0 prints each line at once. json: print objects. */
    LogOutput(LogFilter filter, size_t last, bool json);

    /* Leaves out lines of other times from now on. */
    void limit_to(const LogPeriod &period) { period_ = period; }

    /* Takes a line. Returns whether the output still works. */
    bool take(const LogRecord &line);

    /* Prints the kept lines; from now on each line is printed and flushed at once. */
    bool flush();

    /* The errno value of a failed output, or 0. */
    int error() const { return error_; }

    /* The number of lines left out because they have no level. */
    size_t without_level() const { return without_level_; }

    /* The number of lines that were taken, and of those that the filter let through. */
    size_t taken() const { return taken_; }
    size_t wanted() const { return wanted_; }

  private:
    bool print(const LogRecord &line);

    const LogFilter filter_;
    LogPeriod period_;
    size_t last_;
    const bool json_;
    std::deque<LogRecord> kept_;
    bool live_ = false;
    int error_ = 0;
    size_t without_level_ = 0;
    size_t taken_ = 0;
    size_t wanted_ = 0;
};
