/*
 * Reports skipped lines of a file: the first ones one by one, then only their number, so that a file of
 * garbage doesn't flood the log. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>

class SkippedLines {
  public:
    /* path: must outlive the object. */
    explicit SkippedLines(const std::string &path) : path_(path) {}

    /* number: line number, from 1. problem: the reason. */
    void report(uint64_t number, const char *problem);

    /* Call it once, after the last line. */
    void report_rest() const;

    bool any() const { return count_ > 0; }

  private:
    const std::string &path_;
    uint64_t count_ = 0;
};
