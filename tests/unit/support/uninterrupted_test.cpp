/*
 * System calls that a signal interrupts.
 */
#include "support/uninterrupted.h"

#include <gtest/gtest.h>

namespace {

/* A call that fails with these errors in turn, and then returns 3 without touching errno. */
class Call {
  public:
    explicit Call(std::vector<int> errors) : errors_(std::move(errors)) {}

    int operator()() {
        if (made_ == errors_.size()) {
            return 3;
        }
        errno = errors_[made_++];
        return -1;
    }
    size_t made() const { return made_; }

  private:
    const std::vector<int> errors_;
    size_t made_ = 0;
};

}  // namespace

TEST(Uninterrupted, RepeatsACallUntilNoSignalInterruptsIt) {
    Call call({EINTR, EINTR});
    EXPECT_EQ(3, uninterrupted([&] { return call(); }));
    EXPECT_EQ(2u, call.made());
}

TEST(Uninterrupted, ReturnsAnyOtherFailureAtOnce) {
    Call call({EINTR, EIO, EINTR});
    EXPECT_EQ(-1, uninterrupted([&] { return call(); }));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ(2u, call.made());
}

/* A read of 0 bytes leaves errno alone: an old EINTR must not be taken for a new one. */
TEST(Uninterrupted, ForgetsAnEarlierError) {
    errno = EINTR;
    EXPECT_EQ(0, uninterrupted([] { return 0; }));
    EXPECT_EQ(0, errno);
}
