/*
 * A histogram of latencies with constant memory and a relative resolution of 1/64.
 * Times are whole microseconds. Not thread-safe; each client has its own, added up at the end.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class LatencyHistogram {
  public:
    void add(uint64_t microseconds);
    void add(const LatencyHistogram &other);

    uint64_t count() const { return count_; }
    uint64_t lowest() const { return count_ > 0 ? lowest_ : 0; }
    uint64_t highest() const { return highest_; }
    double mean() const;

    /* The latency that percent of the requests did not exceed; 0 without requests. percent: above 0, at most
     * 100. */
    uint64_t percentile(double percent) const;

  private:
    static constexpr size_t kSteps = 64;  /* of a power of two */
    static constexpr size_t kPowers = 37; /* 2^42 microseconds are 50 days */

    static size_t slot_of(uint64_t microseconds);
    static uint64_t highest_in(size_t slot);

    std::array<uint64_t, kSteps * kPowers> slots_{};
    uint64_t count_ = 0;
    uint64_t sum_ = 0;
    uint64_t lowest_ = UINT64_MAX;
    uint64_t highest_ = 0;
};
