/*
 * Waiting for a word of shared memory to change, in any process that maps it. The memory may be mapped
 * read-only by those who wait.
 */
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <climits>
#include <cstdint>

/* Waits while the word has the value, at most so long. May return early. */
inline void futex_wait(const uint32_t *word, uint32_t value, uint32_t most_ms) {
    const timespec most = {static_cast<time_t>(most_ms / 1000), static_cast<long>(most_ms % 1000) * 1000000};
    (void)::syscall(SYS_futex, word, FUTEX_WAIT, value, &most, nullptr, 0);
}

/* The same; bit: of the wake-ups by futex_wake_bit, only those with this bit count. */
inline void futex_wait_bit(const uint32_t *word, uint32_t value, uint32_t bit, uint32_t most_ms) {
    timespec end = {};
    (void)::clock_gettime(CLOCK_MONOTONIC, &end);
    const long nanoseconds = end.tv_nsec + static_cast<long>(most_ms % 1000) * 1000000;
    end.tv_sec += static_cast<time_t>(most_ms / 1000 + static_cast<uint32_t>(nanoseconds / 1000000000));
    end.tv_nsec = nanoseconds % 1000000000;
    (void)::syscall(SYS_futex, word, FUTEX_WAIT_BITSET, value, &end, nullptr, bit);
}

/* Wakes everybody who waits for the word. */
inline void futex_wake_all(const uint32_t *word) {
    (void)::syscall(SYS_futex, word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

/* Wakes those who wait with this bit. */
inline void futex_wake_bit(const uint32_t *word, uint32_t bit) {
    (void)::syscall(SYS_futex, word, FUTEX_WAKE_BITSET, INT_MAX, nullptr, nullptr, bit);
}
