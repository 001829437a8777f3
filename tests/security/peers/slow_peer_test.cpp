/*
 * With a limit for exchanges, a peer can't block a module's service without limit, and a slow but honest peer
 * is served.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "support/module_process.h"
#include "system/messaging/raw_peer.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr uint32_t kEcho = 40000;
constexpr uint32_t kFill = 40003;
constexpr uint32_t kLargeRoom = 4 * 1024 * 1024;
constexpr auto kLimit = 2s;

class PauseClock {
  public:
    void step() {
        const auto now = Clock::now();
        longest_ = std::max(longest_, now - last_);
        last_ = now;
    }
    Clock::duration longest_pause() const { return longest_; }

  private:
    Clock::time_point last_ = Clock::now();
    Clock::duration longest_{0};
};

class SlowPeer : public testing::Test {
  protected:
    static ModuleOptions limited() {
        ModuleOptions options;
        options.environment = {"QUOR_IPC_EXCHANGE_LIMIT=2"};
        return options;
    }
    static bool serves() {
        RawRequest request = RawRequest::of(kEcho);
        request.rsp_size = 4;
        request.data_len = 4;
        RawConnection good = RawConnection::to("router");
        return good.send(request.bytes() + "good") && good.receive_rest() == words({0, 4}) + "good";
    }
    bool logged(const std::string &text) { return router_.process().wait_for_error(text); }

    /* Sends the first bytes at once and the others one by one, until the module hangs up, which it must do
     * at its limit. */
    static void drip(const std::string &bytes, size_t at_once) {
        const auto begin = Clock::now();
        RawConnection peer = RawConnection::to("router");
        bool taken = peer.send(bytes.substr(0, at_once));
        for (size_t i = at_once; taken && i < bytes.size(); ++i) {
            std::this_thread::sleep_for(200ms);
            taken = peer.send(bytes.substr(i, 1));
        }
        EXPECT_FALSE(taken) << "all was taken";
        EXPECT_GE(Clock::now() - begin, kLimit - 100ms);
    }

    /* The module can't tell an honest peer from a silent one when a busy machine stops the peer for as long
     * as the limit. Such a try does not count. The exchange gets a clock, on which it notes each step. */
    static void expect_served(const std::function<bool(PauseClock &)> &exchange) {
        constexpr int kMostTries = 20;
        for (int tries = 0; tries < kMostTries; ++tries) {
            PauseClock clock;
            const bool is_served = exchange(clock);
            if (clock.longest_pause() < kLimit / 2) {
                EXPECT_TRUE(is_served);
                return;
            }
        }
        ADD_FAILURE() << "the machine stopped the peer in each of " << kMostTries << " tries";
    }

    ModuleProcess router_{3, limited()};
};

TEST_F(SlowPeer, ABodyThatDripsEndsAtTheLimit) {
    RawRequest request = RawRequest::of(kEcho);
    request.data_len = 100;
    drip(request.bytes() + std::string(100, 'x'), 24);
    EXPECT_TRUE(logged("select recv timeout!"));
    EXPECT_TRUE(logged("ipc recv body error!"));
    EXPECT_TRUE(serves());
}

TEST_F(SlowPeer, AHeaderThatDripsEndsAtTheLimit) {
    drip(RawRequest().bytes(), 0);
    EXPECT_TRUE(logged("select recv timeout!"));
    EXPECT_TRUE(logged("recv ipc header error!"));
    EXPECT_TRUE(serves());
}

TEST_F(SlowPeer, AnAnswerThatNobodyReadsEndsAtTheLimit) {
    RawRequest request = RawRequest::of(kFill);
    request.rsp_size = kLargeRoom;
    const auto begin = Clock::now();
    RawConnection peer = RawConnection::to("router");
    peer.send(request.bytes());
    EXPECT_TRUE(logged("send ipc rsp error!"));
    EXPECT_GE(Clock::now() - begin, kLimit - 100ms);
    EXPECT_TRUE(serves());
}

TEST_F(SlowPeer, AnHonestSlowRequestIsServed) {
    RawRequest request = RawRequest::of(kEcho);
    request.rsp_size = 4;
    request.data_len = 4;
    const std::string whole = request.bytes() + "slow";
    expect_served([&](PauseClock &clock) {
        RawConnection peer = RawConnection::to("router");
        for (size_t i = 0; i < whole.size(); i += 7) {
            peer.send(whole.substr(i, 7));
            std::this_thread::sleep_for(50ms);
            clock.step();
        }
        return peer.receive_rest() == words({0, 4}) + "slow";
    });
}

/* It takes longer than the limit in all, and never pauses for so long. */
TEST_F(SlowPeer, AnHonestSlowReaderGetsItsAnswer) {
    RawRequest request = RawRequest::of(kFill);
    request.rsp_size = kLargeRoom;
    expect_served([&](PauseClock &clock) {
        RawConnection peer = RawConnection::to("router");
        peer.send(request.bytes());
        size_t read = 0;
        for (const auto begin = Clock::now(); Clock::now() - begin < kLimit + 1s;) {
            read += peer.receive(100000).size();
            std::this_thread::sleep_for(100ms);
            clock.step();
        }
        read += peer.receive_rest().size();
        return read == size_t{kLargeRoom} + 8;
    });
    EXPECT_TRUE(serves());
}

}  // namespace
