#include "cli/user_signals.h"

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

std::atomic<int> g_signals{0};

TEST(EndBySignal, HasASignalTakeItsUsualEffect) {
    const auto before = std::signal(SIGTERM, [](int) { ++g_signals; });
    end_by_signal(0);
    EXPECT_EQ(0, g_signals);
    end_by_signal(SIGTERM);
    EXPECT_EQ(1, g_signals);
    (void)std::signal(SIGTERM, before);
}

TEST(SignalHold, KnowsOfASignalThatWaits) {
    const auto before = std::signal(SIGTERM, [](int) { ++g_signals; });
    g_signals = 0;
    {
        const SignalHold hold;
        EXPECT_FALSE(SignalHold::waiting());
        ASSERT_EQ(0, std::raise(SIGTERM));
        EXPECT_TRUE(SignalHold::waiting());
        EXPECT_EQ(0, g_signals);
    }
    EXPECT_EQ(1, g_signals);
    (void)std::signal(SIGTERM, before);
}

}  // namespace
