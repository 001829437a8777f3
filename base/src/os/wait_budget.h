/*
 * Limits how long many waits may take together: one second at first, and a tenth of the time after that. One
 * thread at a time.
 */
#pragma once

#include <cstdint>

class WaitBudget {
  public:
    /* Begins a wait. Returns how long it may take, in milliseconds; 0 if there must be none. */
    int begin_wait();

    /* Ends a wait, and takes its time from the budget. */
    void end_wait();

  private:
    static constexpr int64_t kLargestNs = 1'000'000'000;
    static constexpr int64_t kPart = 10; /* of the time that passes */

    int64_t left_ns_ = kLargestNs;
    int64_t begin_ns_ = 0; /* of the last wait */
    int64_t end_ns_ = 0;
};
