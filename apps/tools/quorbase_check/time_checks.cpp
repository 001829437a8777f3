#include <sys/time.h>
#include <time.h>

#include <cstdint>
#include <cstdlib>

#include "checks.h"
#include "os_time.h"

namespace {

constexpr int64_t kMilliseconds = 1000;

int64_t clock_ms(clockid_t clock) {
    timespec now = {};
    (void)::clock_gettime(clock, &now);
    return now.tv_sec * kMilliseconds + now.tv_nsec / 1000000;
}

/* The clock's granularity, and what a tick rounds off. */
constexpr int64_t kTolerance = 10;

template <typename Sleep>
void expect_sleep(const Examination &that, const Sleep &sleep, int64_t least) {
    const int64_t begin = clock_ms(CLOCK_MONOTONIC);
    sleep();
    const int64_t slept = clock_ms(CLOCK_MONOTONIC) - begin;
    that.expect(slept >= least - kTolerance,
                "returns after " + std::to_string(slept) + " ms instead of " + std::to_string(least));
}

/* The time since boot is read by one of two clocks, of which one stands still while the device sleeps. */
void expect_uptime(const Examination &that, int64_t before, int64_t seconds) {
    constexpr int64_t kSlow = 2;
    const bool monotonic =
        seconds >= before - kSlow && seconds <= clock_ms(CLOCK_MONOTONIC) / kMilliseconds + kSlow;
    const int64_t boot = clock_ms(CLOCK_BOOTTIME) / kMilliseconds;
    that.expect(
        monotonic || std::llabs(seconds - boot) <= kSlow,
        "gives " + std::to_string(seconds) + " s; the system has been up for " + std::to_string(boot));
}

}  // namespace

void checks::check_os_simple_timer_start(const Examination &that) {
    const auto begin = CALL(that, os_simple_timer_start);
    const auto timeout = CALL(that, os_simple_timer_timeout);
    os_simple_timer timer = {};
    constexpr uint64_t kHour = 3600000;
    begin(&timer, kHour);
    that.expect(timeout(&timer) == 0, "starts a timer of an hour that has expired at once");
    begin(&timer, 0);
    that.expect(timeout(&timer) != 0, "starts a timer of 0 ms that has not expired");
}

void checks::check_os_simple_timer_timeout(const Examination &that) {
    const auto timeout = CALL(that, os_simple_timer_timeout);
    os_simple_timer timer = {};
    constexpr uint64_t kShort = 50;
    CALL(that, os_simple_timer_start)(&timer, kShort);
    const int64_t begin = clock_ms(CLOCK_MONOTONIC);
    while (timeout(&timer) == 0) {
        const timespec tick = {0, 1000000};
        (void)::nanosleep(&tick, nullptr);
    }
    const int64_t waited = clock_ms(CLOCK_MONOTONIC) - begin;
    that.expect(waited >= static_cast<int64_t>(kShort) - kTolerance,
                "says after " + std::to_string(waited) + " ms that 50 ms have passed");
}

void checks::check_os_uptime(const Examination &that) {
    const int64_t before = clock_ms(CLOCK_MONOTONIC) / kMilliseconds;
    long seconds = -1;
    long nanoseconds = -1;
    CALL(that, os_uptime)(&seconds, &nanoseconds);
    that.expect(nanoseconds >= 0 && nanoseconds < 1000000000, "gives no nanoseconds below a second");
    expect_uptime(that, before, seconds);
}

void checks::check_os_uptime_sec(const Examination &that) {
    const int64_t before = clock_ms(CLOCK_MONOTONIC) / kMilliseconds;
    expect_uptime(that, before, CALL(that, os_uptime_sec)());
}

void checks::check_os_gettimeofday(const Examination &that) {
    timeval given = {-1, -1};
    timeval now = {};
    that.expect(CALL(that, os_gettimeofday)(&given) == 0, "fails");
    (void)::gettimeofday(&now, nullptr);
    constexpr int64_t kSlow = 60;
    that.expect(std::llabs(int64_t{now.tv_sec} - int64_t{given.tv_sec}) <= kSlow && given.tv_usec >= 0 &&
                    given.tv_usec < 1000000,
                "gives another time than the system");
}

void checks::check_os_sleep(const Examination &that) {
    const auto sleep = CALL(that, os_sleep);
    expect_sleep(
        that, [=] { sleep(1); }, kMilliseconds);
}

void checks::check_os_msleep(const Examination &that) {
    const auto sleep = CALL(that, os_msleep);
    constexpr uint32_t kShort = 50;
    expect_sleep(
        that, [=] { sleep(kShort); }, kShort);
}
