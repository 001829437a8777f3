#include "os_time.h"

#include <cerrno>
#include <chrono>
#include <limits>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"

namespace {

/* Stands still on a time of the test's own, and notes what would have been slept. */
class OsTime : public FaultsTest {
  protected:
    void stop_clock(time_t seconds, long nanoseconds) {
        doubles::libc::clock_gettime.stand_in([this, seconds, nanoseconds](clockid_t clock, timespec *now) {
            asked_.push_back(clock);
            *now = {seconds, nanoseconds};
            return 0;
        });
        doubles::libc::clock_nanosleep.stand_in(
            [this](clockid_t clock, int flags, const timespec *until, timespec *) {
                EXPECT_EQ(CLOCK_MONOTONIC, clock);
                EXPECT_EQ(TIMER_ABSTIME, flags);
                slept_until_.push_back(*until);
                return slept_until_.size() <= interruptions_ ? EINTR : 0;
            });
    }

    size_t interruptions_ = 0;
    std::vector<clockid_t> asked_;
    std::vector<timespec> slept_until_;
};

}  // namespace

TEST_F(OsTime, TellsTheUptimeToTheNanosecond) {
    stop_clock(123'456, 987'654'321);
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    EXPECT_EQ(123'456, seconds);
    EXPECT_EQ(987'654'321, nanoseconds);
    EXPECT_EQ(std::vector<clockid_t>{CLOCK_BOOTTIME}, asked_);
}

TEST_F(OsTime, SleepsWholeSeconds) {
    stop_clock(100, 900);
    os_sleep(3);
    ASSERT_EQ(1u, slept_until_.size());
    EXPECT_EQ(103, slept_until_[0].tv_sec);
    EXPECT_EQ(900, slept_until_[0].tv_nsec);
}

TEST_F(OsTime, SleepsMillisecondsAcrossASecondsEnd) {
    stop_clock(100, 900'000'000);
    os_msleep(1200);
    ASSERT_EQ(1u, slept_until_.size());
    EXPECT_EQ(102, slept_until_[0].tv_sec);
    EXPECT_EQ(100'000'000, slept_until_[0].tv_nsec);
}

TEST_F(OsTime, SleepsOnToTheSameMomentAfterASignal) {
    interruptions_ = 2;
    stop_clock(100, 0);
    os_msleep(50);
    ASSERT_EQ(3u, slept_until_.size());
    for (const timespec &until : slept_until_) {
        EXPECT_EQ(100, until.tv_sec);
        EXPECT_EQ(50'000'000, until.tv_nsec);
    }
}

TEST_F(OsTime, TakesTheLongestSleepsWithoutWrapping) {
    stop_clock(100, 0);
    os_sleep(std::numeric_limits<uint32_t>::max());
    os_msleep(std::numeric_limits<uint32_t>::max());
    ASSERT_EQ(2u, slept_until_.size());
    const time_t last =
        sizeof(time_t) == 4 ? std::numeric_limits<time_t>::max() : static_cast<time_t>(100LL + 0xFFFFFFFFLL);
    EXPECT_EQ(last, slept_until_[0].tv_sec);
    EXPECT_EQ(100 + 4294967, slept_until_[1].tv_sec);
    EXPECT_EQ(295'000'000, slept_until_[1].tv_nsec);
}

TEST_F(OsTime, ReallySleeps) {
    const auto start = std::chrono::steady_clock::now();
    os_msleep(20);
    os_sleep(0);
    EXPECT_LE(std::chrono::milliseconds(20), std::chrono::steady_clock::now() - start);
}

TEST_F(OsTime, CountsTheSecondsSinceBootWithTimeAsleep) {
    stop_clock(4321, 999'999'999);
    EXPECT_EQ(4321u, os_uptime_sec());
    EXPECT_EQ(std::vector<clockid_t>{CLOCK_BOOTTIME}, asked_);
}

TEST_F(OsTime, RunsATimerOutAtItsMomentNotBefore) {
    os_simple_timer timer{};
    stop_clock(10, 999'000'000);
    os_simple_timer_start(&timer, 1001);
    EXPECT_EQ(0, os_simple_timer_timeout(&timer));
    stop_clock(11, 999'999'999);
    EXPECT_EQ(0, os_simple_timer_timeout(&timer));
    stop_clock(12, 0);
    EXPECT_EQ(1, os_simple_timer_timeout(&timer));
    EXPECT_EQ(1, os_simple_timer_timeout(&timer));
    for (const clockid_t clock : asked_) {
        EXPECT_EQ(CLOCK_MONOTONIC, clock);
    }
}

TEST_F(OsTime, RunsATimerOfNoTimeOutAtOnce) {
    os_simple_timer timer{};
    os_simple_timer_start(&timer, 0);
    EXPECT_EQ(1, os_simple_timer_timeout(&timer));
}

TEST_F(OsTime, StartsATimerAgain) {
    os_simple_timer timer{};
    os_simple_timer_start(&timer, 0);
    os_simple_timer_start(&timer, 3'600'000);
    EXPECT_EQ(0, os_simple_timer_timeout(&timer));
}

TEST_F(OsTime, NeverRunsTheLongestTimerOut) {
    os_simple_timer timer{};
    os_simple_timer_start(&timer, std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(std::numeric_limits<uint64_t>::max(), timer.deadline_ms);
    EXPECT_EQ(0, os_simple_timer_timeout(&timer));
}

TEST_F(OsTime, TellsTheTimeOfDay) {
    timeval now = {};
    const time_t before = time(nullptr);
    EXPECT_EQ(0, os_gettimeofday(&now));
    const time_t after = time(nullptr);
    EXPECT_GE(now.tv_sec, before);
    EXPECT_LE(now.tv_sec, after);
    EXPECT_GE(now.tv_usec, 0);
    EXPECT_LT(now.tv_usec, 1'000'000);
}
