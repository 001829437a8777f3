/*
 * The period of --since and --until, for lines in the order of the log.
 */
#pragma once

#include <ctime>
#include <optional>
#include <string>

class LogPeriod {
  public:
    /* All lines. */
    LogPeriod() = default;

    /* since, until: both included. now: tells the year of lines that don't name it. */
    LogPeriod(std::optional<std::time_t> since, std::optional<std::time_t> until, std::time_t now)
        : since_(since), until_(until), now_(now) {}

    bool is_limited() const { return since_ || until_; }
    std::optional<std::time_t> since() const { return since_; }
    std::optional<std::time_t> until() const { return until_; }

    /* Whether the next line is of the period. One without a time belongs to the line before it. */
    bool takes(const std::string &time);

  private:
    std::optional<std::time_t> since_;
    std::optional<std::time_t> until_;
    std::time_t now_ = 0;
    bool last_ = false;
};
