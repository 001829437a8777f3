#include "apptest/latency_histogram.h"

#include <algorithm>
#include <cmath>

void LatencyHistogram::add(uint64_t microseconds) {
    ++slots_[slot_of(microseconds)];
    ++count_;
    sum_ += microseconds;
    lowest_ = std::min(lowest_, microseconds);
    highest_ = std::max(highest_, microseconds);
}

void LatencyHistogram::add(const LatencyHistogram &other) {
    for (size_t slot = 0; slot < slots_.size(); ++slot) {
        slots_[slot] += other.slots_[slot];
    }
    count_ += other.count_;
    sum_ += other.sum_;
    lowest_ = std::min(lowest_, other.lowest_);
    highest_ = std::max(highest_, other.highest_);
}

double LatencyHistogram::mean() const {
    return count_ > 0 ? static_cast<double>(sum_) / static_cast<double>(count_) : 0;
}

uint64_t LatencyHistogram::percentile(double percent) const {
    const auto rank = static_cast<uint64_t>(std::ceil(percent / 100 * static_cast<double>(count_)));
    uint64_t seen = 0;
    for (size_t slot = 0; slot < slots_.size(); ++slot) {
        seen += slots_[slot];
        if (seen >= rank && seen > 0) {
            return std::min(highest_in(slot), highest_);
        }
    }
    return 0;
}

/* Times below 128 have a slot each; above, every power of two has 64. */
size_t LatencyHistogram::slot_of(uint64_t microseconds) {
    size_t power = 0;
    uint64_t step = microseconds;
    while (step >= 2 * kSteps) {
        step >>= 1;
        ++power;
    }
    return std::min(power * kSteps + static_cast<size_t>(step), kSteps * kPowers - 1);
}

uint64_t LatencyHistogram::highest_in(size_t slot) {
    if (slot < 2 * kSteps) {
        return slot;
    }
    const size_t power = slot / kSteps - 1;
    const uint64_t step = kSteps + slot % kSteps;
    return ((step + 1) << power) - 1;
}
