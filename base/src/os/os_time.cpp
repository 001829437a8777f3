/*
 * Sleeping, time since boot, one-shot timers and the time of day.
 */
#include "os_time.h"

#include <cerrno>
#include <ctime>
#include <limits>

namespace {

constexpr uint32_t kMillisPerSecond = 1000;
constexpr long kNanosPerMilli = 1000L * 1000L;
constexpr long kNanosPerSecond = 1000L * kNanosPerMilli;

timespec clock_now(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now;
}

uint64_t monotonic_ms() {
    const timespec now = clock_now(CLOCK_MONOTONIC);
    return static_cast<uint64_t>(now.tv_sec) * kMillisPerSecond +
           static_cast<uint64_t>(now.tv_nsec / kNanosPerMilli);
}

/* The monotonic time after this span, or the largest possible time. */
timespec time_ahead(uint32_t seconds, uint32_t milliseconds) {
    timespec time = clock_now(CLOCK_MONOTONIC);
    time.tv_nsec += static_cast<long>(milliseconds) * kNanosPerMilli;
    if (time.tv_nsec >= kNanosPerSecond) {
        time.tv_nsec -= kNanosPerSecond;
        time.tv_sec += 1;
    }
    if (__builtin_add_overflow(time.tv_sec, seconds, &time.tv_sec)) {
        time.tv_sec = std::numeric_limits<time_t>::max();  // GCOVR_EXCL_LINE: where time_t has 32 bits
    }
    return time;
}

/* Sleeps until an absolute time, so that signals don't prolong the sleep. */
void sleep_until(const timespec &deadline) {
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
}

}  // namespace

void os_sleep(uint32_t seconds) {
    sleep_until(time_ahead(seconds, 0));
}

void os_msleep(uint32_t milliseconds) {
    sleep_until(time_ahead(milliseconds / kMillisPerSecond, milliseconds % kMillisPerSecond));
}

uint32_t os_uptime_sec(void) {
    return static_cast<uint32_t>(clock_now(CLOCK_BOOTTIME).tv_sec);
}

void os_uptime(long *seconds, long *nanoseconds) {
    const timespec now = clock_now(CLOCK_BOOTTIME);
    *seconds = static_cast<long>(now.tv_sec);
    *nanoseconds = now.tv_nsec;
}

int32_t os_gettimeofday(struct timeval *now) {
    return gettimeofday(now, nullptr);
}

void os_simple_timer_start(os_simple_timer *timer, uint64_t milliseconds) {
    if (__builtin_add_overflow(monotonic_ms(), milliseconds, &timer->deadline_ms)) {
        timer->deadline_ms = std::numeric_limits<uint64_t>::max();
    }
}

int32_t os_simple_timer_timeout(const os_simple_timer *timer) {
    return monotonic_ms() >= timer->deadline_ms ? 1 : 0;
}
