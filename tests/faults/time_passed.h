/*
 * The time that passes for a call. Its sleeps end after a moment while its calls are counted, so that the
 * clock alone would not tell whether they were whole.
 */
#pragma once

#include <chrono>

namespace faults {

/* What all sleeps so far were cut by. */
std::chrono::nanoseconds cut_off_sleeps();

/* How long a step takes, with what its sleeps were cut by. */
template <typename Step>
std::chrono::nanoseconds time_passed(Step step) {
    const auto cut_off = cut_off_sleeps();
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::steady_clock::now() - start + cut_off_sleeps() - cut_off;
}

}  // namespace faults
