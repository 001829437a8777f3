/*
 * Simulated time, which passes only while the code under test waits for a peer.
 */
#pragma once

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <functional>
#include <vector>

#include "doubles/libc_doubles.h"

/* One object at a time; doubles::restore_all removes its stand-ins. For the waiting thread. */
class FakeTime {
  public:
    FakeTime() {
        doubles::libc::clock_gettime.stand_in([this](clockid_t clock, timespec *now) {
            if (clock != CLOCK_MONOTONIC_COARSE) {
                return doubles::libc::clock_gettime.real(clock, now);
            }
            *now = {static_cast<time_t>(now_ms_ / 1000), static_cast<long>(now_ms_ % 1000) * 1000 * 1000};
            return 0;
        });
        doubles::libc::poll.stand_in(
            [this](pollfd *fds, nfds_t count, int limit) { return wait(fds, count, limit); });
    }
    FakeTime(const FakeTime &) = delete;
    FakeTime &operator=(const FakeTime &) = delete;

    int64_t passed_ms() const { return now_ms_ - kBegin; }
    void pass(int64_t ms) { now_ms_ += ms; }

    /* Adds an event that happens while the code waits, ms milliseconds after the start. */
    void at(int64_t ms, std::function<void()> event) { events_.push_back({ms, std::move(event)}); }

    /* Sends a signal every ms milliseconds while the code waits; 0 for none. */
    void signal_each(int64_t ms) { signal_each_ = ms; }

    /* From now on the peer is a thread: the code waits for it as long as it takes, and no simulated time
     * passes. */
    void wait_for_thread() { peer_is_thread_ = true; }

    /* The time limits of the waits that did not return at once. */
    const std::vector<int> &limits() const { return limits_; }

  private:
    struct Event {
        int64_t ms;
        std::function<void()> happens;
    };

    /* Simulates poll with the events until its limit. A wait without a limit lasts until an event. */
    int wait(pollfd *fds, nfds_t count, int limit) {
        int ready = doubles::libc::poll.real(fds, count, 0);
        if (ready != 0) {
            return ready;
        }
        limits_.push_back(limit);
        const int64_t end = limit >= 0 ? passed_ms() + limit : INT64_MAX;
        const int64_t signal = signal_each_ > 0 ? passed_ms() + signal_each_ : INT64_MAX;
        while (ready == 0 && next_ < events_.size() && events_[next_].ms <= std::min(end, signal)) {
            now_ms_ = kBegin + std::max(events_[next_].ms, passed_ms());
            events_[next_++].happens();
            ready = doubles::libc::poll.real(fds, count, 0);
        }
        if (ready == 0 && peer_is_thread_) {
            return doubles::libc::poll.real(fds, count, -1);
        }
        if (ready == 0 && signal < end) {
            now_ms_ = kBegin + signal;
            errno = EINTR;
            return -1;
        }
        if (ready == 0 && limit < 0) {
            return doubles::libc::poll.real(fds, count, limit);
        }
        now_ms_ = ready == 0 ? kBegin + end : now_ms_;
        return ready;
    }

    static constexpr int64_t kBegin = 1000 * 1000;

    int64_t now_ms_ = kBegin;
    int64_t signal_each_ = 0;
    bool peer_is_thread_ = false;
    std::vector<Event> events_;
    size_t next_ = 0;
    std::vector<int> limits_;
};
