/*
 * Finds the lines that a follower of the ring buffer repeats: it is started before the buffer is read, so
 * that no line is lost between the two. Pure.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class RingOverlap {
  public:
    /* A line of the buffer. */
    void add(const std::string &line) { lines_.push_back(line); }

    /* Whether the follower's next line is the buffer's line after the follower's previous one. */
    bool repeats(const std::string &line);

  private:
    std::vector<size_t> candidates() const;

    std::vector<std::string> lines_;
    std::vector<size_t> places_; /* where in the buffer the follower's next line may be */
    bool begun_ = false;
};
