/*
 * A progress bar on standard error, if that is a terminal.
 */
#pragma once

#include <cstddef>
#include <string>

/* A bar of width characters, filled with '#' up to its share. share: from 0 to 1. */
std::string bar_text(double share, size_t width);

/* A bar and a note in one line. done: from 0 to 1. */
std::string progress_line(double done, const std::string &note, size_t columns);

class ProgressBar {
  public:
    ProgressBar();

    /* Wipes the bar. */
    ~ProgressBar();

    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    void show(double done, const std::string &note) const;

  private:
    bool visible_;
};
