/*
 * A monotonic clock that is cheap to read; it steps with the kernel's tick, in steps of some milliseconds.
 * For time limits of seconds on hot paths.
 */
#pragma once

#include <cstdint>
#include <ctime>

/* Milliseconds since an undefined time in the past. */
inline uint64_t coarse_ms() {
    constexpr uint64_t kMsPerSecond = 1000;
    constexpr long kNsPerMs = 1000L * 1000L;
    timespec now = {};
    (void)::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<uint64_t>(now.tv_sec) * kMsPerSecond + static_cast<uint64_t>(now.tv_nsec / kNsPerMs);
}
