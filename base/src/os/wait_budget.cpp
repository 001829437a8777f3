#include "wait_budget.h"

#include <algorithm>
#include <ctime>

namespace {

constexpr int64_t kNsInS = 1'000'000'000;
constexpr int64_t kNsInMs = 1'000'000;

int64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNsInS + now.tv_nsec;
}

}  // namespace

int WaitBudget::begin_wait() {
    begin_ns_ = now_ns();
    left_ns_ = std::min(kLargestNs, left_ns_ + (begin_ns_ - end_ns_) / kPart);
    end_ns_ = begin_ns_;
    return static_cast<int>(std::max<int64_t>(left_ns_, 0) / kNsInMs);
}

void WaitBudget::end_wait() {
    end_ns_ = now_ns();
    left_ns_ -= end_ns_ - begin_ns_;
}
