#include "user_signals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace {

TEST(SignalWatch, ASignalThatAnotherThreadGetsEndsTheWait) {
    std::atomic<bool> over{false};
    std::thread other([&over] {
        while (!over) {
            std::this_thread::yield();
        }
    });
    {
        const SignalWatch watch;
        ASSERT_EQ(0, ::pthread_kill(other.native_handle(), SIGINT));
        EXPECT_FALSE(watch.wait(-1, -1));
        EXPECT_EQ(SIGINT, SignalWatch::caught());
    }
    over = true;
    other.join();
}

TEST(SignalWatch, ASignalOfItsOwnThreadIsHeldBackUntilItWaits) {
    const SignalWatch watch;
    ASSERT_EQ(0, std::raise(SIGTERM));
    EXPECT_EQ(0, SignalWatch::caught());
    EXPECT_FALSE(watch.wait(-1, -1));
    EXPECT_EQ(SIGTERM, SignalWatch::caught());
}

}  // namespace
