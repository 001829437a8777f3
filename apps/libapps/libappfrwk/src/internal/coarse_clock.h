/*
 * A monotonic clock that is cheap to read: it steps with the kernel's tick, some milliseconds at a time. For
 * waits of seconds, on paths where each message counts.
 */
#pragma once

#include <cstdint>
#include <ctime>

/* Milliseconds since some moment in the past. */
inline uint64_t coarse_ms() {
    constexpr uint64_t kMsPerSecond = 1000;
    constexpr long kNsPerMs = 1000L * 1000L;
    timespec now = {};
    (void)::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<uint64_t>(now.tv_sec) * kMsPerSecond + static_cast<uint64_t>(now.tv_nsec / kNsPerMs);
}
