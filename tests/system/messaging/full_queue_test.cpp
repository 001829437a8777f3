/*
 * Receivers that don't accept for a while: their backlog fills, and senders wait up to their time limits.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/* A router that listens but accepts no connection; the test has filled its queue. */
class FullQueue : public testing::Test {
  protected:
    FullQueue() {
        while (RawConnection waiting = RawConnection::try_to("router")) {
            queue_.push_back(std::move(waiting));
        }
    }

    /* The module's reply, and how long it took. */
    std::string timed(const std::string &command) {
        const auto start = Clock::now();
        std::string reply = wlan_.ask(command);
        took_ = Clock::now() - start;
        return reply;
    }

    ModuleProcess wlan_{5};
    RawServer router_{"router", 2};
    std::vector<RawConnection> queue_;
    Clock::duration took_{};
};

TEST_F(FullQueue, ALimitOf0TriesOnce) {
    EXPECT_EQ("ret=1", timed("async 3 9 0 -"));
    EXPECT_LT(took_, 900ms);
    EXPECT_EQ("ret=1", timed("sync 3 9 0 0 -"));
    EXPECT_LT(took_, 900ms);
    EXPECT_TRUE(wlan_.process().wait_for_error("ipc connect to module [router] failed!"));
}

TEST_F(FullQueue, ALimitOfOneSecondIsHonoured) {
    EXPECT_EQ("ret=1", timed("async 3 9 1 -"));
    EXPECT_GE(took_, 950ms);
    EXPECT_LT(took_, 10s);
}

TEST_F(FullQueue, ASenderGetsThePlaceThatIsFreedWhileItWaits) {
    wlan_.tell("async 3 9 30 text:late");
    for (size_t i = 0; i < queue_.size(); ++i) {
        ASSERT_TRUE(router_.accept());
    }
    RawConnection sender = router_.accept();
    EXPECT_EQ(words({5, 9, 1, 30, 0, 4}) + "late", sender.receive_rest());
    EXPECT_EQ("ret=15", wlan_.reply());
}

TEST_F(FullQueue, ASyncRequestThatWaitedIsAnsweredAsUsual) {
    wlan_.tell("sync 3 9 30 2 -");
    for (size_t i = 0; i < queue_.size(); ++i) {
        ASSERT_TRUE(router_.accept());
    }
    RawConnection sender = router_.accept();
    EXPECT_EQ(24u, sender.receive(24).size());
    sender.send(words({0, 2}) + "ok");
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan_.reply());
}

TEST_F(FullQueue, AWaitingSenderLeavesNoDescriptorBehind) {
    RawConnection probe = RawConnection::to("wlan");
    probe.send(words({9, 7, 0, 5, 0, 0}));
    ASSERT_EQ(words({0, 0}), probe.receive_rest());

    const size_t before = wlan_.process().descriptors();
    EXPECT_EQ("ret=1", timed("async 3 9 1 -"));
    EXPECT_EQ("ret=1", timed("async 3 9 0 -"));
    EXPECT_EQ(before, wlan_.process().descriptors());
}

/* Ten monitored modules that listen but accept no connection; the test has filled their queues. */
class TenFullQueues : public testing::Test {
  protected:
    TenFullQueues() {
        for (const char *name :
             {"zndb", "router", "mnet", "ble", "dialup", "dmp", "device", "voice", "sms", "dbm"}) {
            servers_.push_back(std::make_unique<RawServer>(name, 2));
            queue_of_last_.clear();
            while (RawConnection waiting = RawConnection::try_to(name)) {
                queue_of_last_.push_back(std::move(waiting));
            }
        }
    }

    /* Reads the backlog of the last one up to a message. The test's own connections were closed. */
    std::string next_message_of_last() {
        std::string message;
        for (RawConnection next = servers_.back()->accept(); next && message.empty();
             next = servers_.back()->accept()) {
            message = next.receive_rest();
        }
        return message;
    }

    ModuleProcess wlan_{5};
    ModuleProcess statistics_{13};
    std::vector<std::unique_ptr<RawServer>> servers_;
    std::vector<RawConnection> queue_of_last_; /* the others' connections wait, closed, in their backlogs */
};

TEST_F(TenFullQueues, ShareOneTimeLimitOfABroadcast) {
    const auto start = Clock::now();
    EXPECT_EQ("done", wlan_.ask("broadcast 9 text:de"));
    const auto took = Clock::now() - start;
    EXPECT_GE(took, 3s);
    EXPECT_LT(took, 15s);  // with a limit for each it would be 30 s
    EXPECT_TRUE(statistics_.wait_for_message("5 9 2 6465"));
    EXPECT_TRUE(wlan_.process().wait_for_error("ipc connect to module [zndb] failed!"));
    EXPECT_TRUE(wlan_.process().wait_for_error("ipc connect to module [dbm] failed!"));
}

TEST_F(TenFullQueues, HoldUpNobodyWhoHasRoom) {
    wlan_.tell("broadcast 9 text:de");
    ASSERT_TRUE(statistics_.wait_for_message("5 9 2 6465"));
    EXPECT_EQ("done", wlan_.reply());
}

TEST_F(TenFullQueues, OneThatGetsRoomIsReachedWhileTheOthersStayFull) {
    wlan_.tell("broadcast 9 text:de");
    ASSERT_TRUE(statistics_.wait_for_message("5 9 2 6465"));
    queue_of_last_.clear();
    EXPECT_EQ(words({5, 9, 1, 3, 0, 2}) + "de", next_message_of_last());
    EXPECT_EQ("done", wlan_.reply());
}

TEST(Burst, TwoHundredMessagesToASleepingModuleAllArriveInOrder) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=15", wlan.ask("async 3 40002 3 int:1000"));
    ASSERT_TRUE(router.wait_for_messages(1));
    EXPECT_EQ("delivered=200", wlan.ask("burst 3 9001 30 200"));
    ASSERT_TRUE(router.wait_for_messages(201));

    const std::vector<std::string> messages = router.messages();
    for (uint32_t i = 0; i < 200; ++i) {
        char expected[64];
        (void)std::snprintf(expected, sizeof(expected), "5 9001 4 %02x000000", i);
        EXPECT_EQ(expected, messages[i + 1]);
    }
}

TEST(Burst, MessagesToASleepingModuleFromThreeSendersAllArrive) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess device(9);
    ModuleProcess sms(11);
    EXPECT_EQ("ret=15", wlan.ask("async 3 40002 3 int:500"));
    ASSERT_TRUE(router.wait_for_messages(1));
    for (ModuleProcess *sender : {&wlan, &device, &sms}) {
        sender->tell("burst 3 9001 30 100");
    }
    for (ModuleProcess *sender : {&wlan, &device, &sms}) {
        EXPECT_EQ("delivered=100", sender->reply());
    }
    EXPECT_TRUE(router.wait_for_messages(301));
}

}  // namespace
