/*
 * How long many waits may take together, by a clock of the test's own.
 */
#include "os/wait_budget.h"

#include <gtest/gtest.h>

#include "doubles/libc_doubles.h"

namespace {

class WaitBudgetTest : public testing::Test {
  protected:
    WaitBudgetTest() {
        doubles::libc::clock_gettime.stand_in([this](clockid_t, timespec *now) {
            *now = {now_ms_ / 1000, now_ms_ % 1000 * 1'000'000};
            return 0;
        });
    }
    ~WaitBudgetTest() override { doubles::restore_all(); }

    /* Returns the limit of the wait. */
    int wait(int ms) {
        const int limit = budget_.begin_wait();
        now_ms_ += ms;
        budget_.end_wait();
        return limit;
    }

    WaitBudget budget_;
    long now_ms_ = 5'000'000;
};

TEST_F(WaitBudgetTest, IsASecondAtFirst) {
    EXPECT_EQ(1000, wait(0));
}

TEST_F(WaitBudgetTest, ShrinksByEachWait) {
    EXPECT_EQ(1000, wait(300));
    EXPECT_EQ(700, wait(600));
    EXPECT_EQ(100, wait(100));
    EXPECT_EQ(0, wait(0));
}

TEST_F(WaitBudgetTest, GrowsByATenthOfTheTime) {
    (void)wait(1000);
    now_ms_ += 500;
    EXPECT_EQ(50, wait(0));
    now_ms_ += 500;
    EXPECT_EQ(100, wait(0));
}

TEST_F(WaitBudgetTest, IsNeverMoreThanASecond) {
    (void)wait(100);
    now_ms_ += 1'000'000;
    EXPECT_EQ(1000, wait(0));
}

/* A process that is stopped while it waits, for example. */
TEST_F(WaitBudgetTest, OwesWhatAWaitTookTooLong) {
    (void)wait(3000);
    EXPECT_EQ(0, wait(0));
    now_ms_ += 20'500;
    EXPECT_EQ(50, wait(0));
}

}  // namespace
