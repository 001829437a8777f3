/*
 * The duration of a call. Its sleeps are shortened while its calls are counted, so the cut-off time must be
 * added to that of the clock.
 */
#pragma once

#include <chrono>

namespace faults {

/* The total time by which sleeps were shortened so far. */
std::chrono::nanoseconds cut_off_sleeps();

/* The duration of a step, including the time by which its sleeps were shortened. */
template <typename Step>
std::chrono::nanoseconds time_passed(Step step) {
    const auto cut_off = cut_off_sleeps();
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::steady_clock::now() - start + cut_off_sleeps() - cut_off;
}

}  // namespace faults
