/*
 * When a growing count is logged, and when again.
 */
#include "frwk_common/util/crowd_notice.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class CrowdNoticeTest : public testing::Test {
  protected:
    /* Lets the count go there in steps of one; returns where a line was asked for. */
    std::vector<uint32_t> go_to(uint32_t count) {
        std::vector<uint32_t> lines;
        while (count_ < count) {
            if (notice_.grown_to(++count_)) {
                lines.push_back(count_);
            }
        }
        while (count_ > count) {
            notice_.fallen_to(--count_);
        }
        return lines;
    }

    CrowdNotice<100> notice_;
    uint32_t count_ = 0;
};

using Lines = std::vector<uint32_t>;

}  // namespace

TEST_F(CrowdNoticeTest, AsksAtTheFirstNumberAndAtEachTenfoldOfIt) {
    EXPECT_EQ(go_to(99), Lines{});
    EXPECT_EQ(go_to(12000), (Lines{100, 1000, 10000}));
}

TEST_F(CrowdNoticeTest, AsksOnceOfACountThatGoesUpAndDownAroundANumber) {
    EXPECT_EQ(go_to(110), Lines{100});
    for (int i = 0; i < 10; ++i) {
        go_to(50);
        EXPECT_EQ(go_to(150), Lines{});
    }
}

TEST_F(CrowdNoticeTest, AsksAgainAfterTheCountFellBelowHalfOfTheNumber) {
    go_to(100);
    go_to(49);
    EXPECT_EQ(go_to(100), Lines{100});
}

TEST_F(CrowdNoticeTest, KeepsTheNumbersApart) {
    go_to(1000);
    go_to(499);
    EXPECT_EQ(go_to(1000), Lines{1000});
    go_to(49);
    EXPECT_EQ(go_to(1000), (Lines{100, 1000}));
}

TEST_F(CrowdNoticeTest, FallsByManyNumbersAtOnce) {
    go_to(10000);
    notice_.fallen_to(0);
    count_ = 0;
    EXPECT_EQ(notice_.next(), 100u);
    EXPECT_EQ(go_to(100), Lines{100});
}

TEST_F(CrowdNoticeTest, StopsAtTheLargestNumber) {
    for (uint32_t number = 100; number < 1000000000; number *= 10) {
        EXPECT_TRUE(notice_.grown_to(number));
        EXPECT_EQ(notice_.next(), number * 10);
    }
    EXPECT_TRUE(notice_.grown_to(1000000000));
    EXPECT_EQ(notice_.next(), UINT32_MAX);
    EXPECT_FALSE(notice_.grown_to(UINT32_MAX - 1));
}
