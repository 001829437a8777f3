/*
 * Messages that reach a module before it has registered its handler.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class WaitingRule : public testing::Test {
  protected:
    static ModuleOptions unregistered() {
        ModuleOptions options;
        options.registered = false;
        return options;
    }

    bool logged(const std::string &text) { return router_.process().wait_for_error(text); }

    /* Sends one request by hand and stays connected. */
    static RawConnection asked(uint32_t src, uint32_t msgid, uint32_t timeout) {
        RawRequest request;
        request.src = src;
        request.msgid = msgid;
        request.timeout = timeout;
        RawConnection peer = RawConnection::to("router");
        peer.send(request.bytes());
        return peer;
    }

    ModuleProcess router_{3, unregistered()};
};

TEST_F(WaitingRule, TheWebServerIsRefusedAtOnce) {
    EXPECT_EQ(words({13, 0}), asked(17, 9, 600).receive_rest());
    EXPECT_TRUE(logged("ipc handler is null!"));
}

TEST_F(WaitingRule, TheRemoteManagementIsRefusedAtOnce) {
    EXPECT_EQ(words({13, 0}), asked(18, 9, 600).receive_rest());
    EXPECT_TRUE(logged("ipc handler is null!"));
}

TEST_F(WaitingRule, TheRefusalReachesARealWebServerAsTheResult) {
    ModuleProcess webserver(17);
    EXPECT_EQ("ret=0 result=13", webserver.ask("sync 3 9 600 0 -"));
}

TEST_F(WaitingRule, AnyoneElseWaitsForTheLimitAndGetsATimeout) {
    ModuleProcess wlan(5);
    const auto start = Clock::now();
    EXPECT_EQ("ret=2 result=2", wlan.ask("sync 3 9 1 0 -"));
    EXPECT_GE(Clock::now() - start, 1s);
    EXPECT_TRUE(logged("waiting for ipc handler register start..."));
    EXPECT_TRUE(logged("waiting for ipc handler timeout!"));
}

TEST_F(WaitingRule, ALimitOf0IsATimeoutAfterTheFirstLook) {
    const auto start = Clock::now();
    EXPECT_EQ(words({2, 0}), asked(9, 9, 0).receive_rest());
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_TRUE(logged("waiting for ipc handler timeout!"));
}

TEST_F(WaitingRule, RegistrationReleasesAWaitingRequest) {
    ModuleProcess wlan(5);
    wlan.tell("sync 3 40001 600 0 int:7");
    ASSERT_TRUE(logged("waiting for ipc handler register start..."));
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_EQ("ret=0 result=7", wlan.reply());
    EXPECT_TRUE(logged("waiting for ipc handler register complete..."));
    EXPECT_EQ(std::vector<std::string>{"5 40001 4 07000000"}, router_.messages());
}

TEST_F(WaitingRule, RegistrationReleasesAWaitingAsyncMessage) {
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=15", wlan.ask("async 3 9 600 -"));
    ASSERT_TRUE(logged("waiting for ipc handler register start..."));
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_TRUE(router_.wait_for_message("5 9 0 -"));
}

TEST_F(WaitingRule, MessagesBehindAWaitingOneAreServedAfterIt) {
    ModuleProcess wlan(5);
    RawConnection first = asked(9, 9, 600);
    ASSERT_TRUE(logged("waiting for ipc handler register start..."));
    wlan.tell("status 3");
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_EQ("status=1", wlan.reply());
    EXPECT_EQ(words({0, 0}), first.receive_rest());
}

/* The two power notifications wait beyond any limit. */
class PowerNotification : public WaitingRule, public testing::WithParamInterface<uint32_t> {};

TEST_P(PowerNotification, WaitsForTheHandlerWhateverTheLimit) {
    RawConnection peer = asked(9, GetParam(), 0);
    EXPECT_TRUE(peer.stays_silent(700ms));
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_EQ(words({0, 0}), peer.receive_rest());
    EXPECT_EQ(std::vector<std::string>{"9 " + std::to_string(GetParam()) + " 0 -"}, router_.messages());
}

TEST_P(PowerNotification, WaitsForTheWebServerToo) {
    RawConnection peer = asked(17, GetParam(), 0);
    EXPECT_TRUE(peer.stays_silent(300ms));
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_EQ(words({0, 0}), peer.receive_rest());
}

TEST_P(PowerNotification, IsHandledAtOnceByARegisteredModule) {
    EXPECT_EQ("registered", router_.ask("register"));
    EXPECT_EQ(words({0, 0}), asked(9, GetParam(), 0).receive_rest());
}

INSTANTIATE_TEST_SUITE_P(System, PowerNotification, testing::Values(1008u, 1009u));

}  // namespace
