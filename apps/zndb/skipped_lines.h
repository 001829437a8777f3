/*
 * Reports the lines of a file that were skipped: the first ones singly, then their number, so that a file of
 * rubbish floods no log. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>

class SkippedLines {
  public:
    /* path: stays the caller's. */
    explicit SkippedLines(const std::string &path) : path_(path) {}

    /* number: of the line, from 1. problem: why it was skipped. */
    void report(uint64_t number, const char *problem);

    /* To be called once, when there are no more. */
    void report_rest() const;

    bool any() const { return count_ > 0; }

  private:
    const std::string &path_;
    uint64_t count_ = 0;
};
