#include "apptest/latency_histogram.h"

#include <gtest/gtest.h>

namespace {

TEST(LatencyHistogram, IsEmptyAtFirst) {
    const LatencyHistogram histogram;
    EXPECT_EQ(0u, histogram.count());
    EXPECT_EQ(0u, histogram.lowest());
    EXPECT_EQ(0u, histogram.highest());
    EXPECT_EQ(0u, histogram.percentile(99));
    EXPECT_EQ(0, histogram.mean());
}

TEST(LatencyHistogram, IsExactForShortTimes) {
    LatencyHistogram histogram;
    for (uint64_t time = 1; time <= 100; ++time) {
        histogram.add(time);
    }
    EXPECT_EQ(100u, histogram.count());
    EXPECT_EQ(1u, histogram.lowest());
    EXPECT_EQ(100u, histogram.highest());
    EXPECT_EQ(50.5, histogram.mean());
    EXPECT_EQ(50u, histogram.percentile(50));
    EXPECT_EQ(99u, histogram.percentile(99));
    EXPECT_EQ(100u, histogram.percentile(99.9));
    EXPECT_EQ(100u, histogram.percentile(100));
    EXPECT_EQ(1u, histogram.percentile(0.001));
}

TEST(LatencyHistogram, IsExactToA64thForLongOnes) {
    for (uint64_t time = 1; time < uint64_t{1} << 41; time = time * 5 / 4 + 1) {
        LatencyHistogram histogram;
        histogram.add(time);
        histogram.add(uint64_t{1} << 41);
        EXPECT_LE(time, histogram.percentile(50));
        EXPECT_GE(time + time / 64 + 1, histogram.percentile(50)) << time;
    }
}

TEST(LatencyHistogram, TakesTheLongestTimes) {
    LatencyHistogram histogram;
    histogram.add(UINT64_MAX / 2);
    EXPECT_EQ(UINT64_MAX / 2, histogram.highest());
    EXPECT_GT(histogram.percentile(50), uint64_t{1} << 40);
}

TEST(LatencyHistogram, AddsUp) {
    LatencyHistogram left;
    LatencyHistogram right;
    left.add(10);
    right.add(20);
    right.add(30);
    left.add(right);
    left.add(LatencyHistogram());
    EXPECT_EQ(3u, left.count());
    EXPECT_EQ(10u, left.lowest());
    EXPECT_EQ(30u, left.highest());
    EXPECT_EQ(20u, left.percentile(50));
    EXPECT_EQ(20, left.mean());
}

}  // namespace
