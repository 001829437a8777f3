/*
 * Modules that exchange messages, as separate processes.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/module_process.h"
#include "support/system_log.h"

namespace {

TEST(Exchange, ASyncRequestBringsTheHandlersResultAndItsAnswer) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0 result=0 rsp=6162630000", wlan.ask("sync 3 40000 3 5 text:abc"));
    EXPECT_EQ(std::vector<std::string>{"5 40000 3 616263"}, router.messages());
}

TEST(Exchange, AResultOtherThanTwoReachesTheCallerOnlyThroughThePointer) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0 result=7", wlan.ask("sync 3 40001 3 0 int:7"));
    EXPECT_EQ("ret=0 result=-1", wlan.ask("sync 3 40001 3 0 int:-1"));
    EXPECT_EQ("ret=0 result=11021", wlan.ask("sync 3 40001 3 0 int:11021"));
}

TEST(Exchange, AResultOfTwoIsATimeoutOfTheRequest) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=2 result=2", wlan.ask("sync 3 40001 3 0 int:2"));
}

TEST(Exchange, AnAsyncMessageIsDelivered) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=15", wlan.ask("async 3 9001 3 text:hello"));
    EXPECT_TRUE(router.wait_for_message("5 9001 5 68656c6c6f"));
    EXPECT_EQ("ret=15", wlan.ask("async 3 9002 3 -"));
    EXPECT_TRUE(router.wait_for_message("5 9002 0 -"));
}

TEST(Exchange, ABodyOfOneByteArrives) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0 result=0 rsp=78", wlan.ask("sync 3 40000 3 1 text:x"));
    EXPECT_EQ("ret=15", wlan.ask("async 3 9001 3 text:y"));
    EXPECT_TRUE(router.wait_for_message("5 9001 1 79"));
}

TEST(Exchange, AnyMessageNumberReachesTheHandler) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0 result=0", wlan.ask("sync 3 0 3 0 -"));
    EXPECT_EQ("ret=0 result=0", wlan.ask("sync 3 -5 3 0 -"));
    EXPECT_EQ("ret=0 result=0", wlan.ask("sync 3 2147483647 3 0 -"));
    EXPECT_EQ((std::vector<std::string>{"5 0 0 -", "5 -5 0 -", "5 2147483647 0 -"}), router.messages());
}

TEST(Exchange, LargeBodiesAndAnswersArriveWhole) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    for (const char *size : {"1000", "1001", "1024", "1025", "1000000"}) {
        SCOPED_TRACE(size);
        const std::string expected = "ret=0 result=0 rsp=" + std::string(64, '0');
        EXPECT_EQ(expected, wlan.ask(std::string("sync 3 40000 3 ") + size + " zeros:" + size));
        EXPECT_TRUE(router.wait_for_message("5 40000 " + std::string(size) + " " + std::string(64, '0')));
    }
}

TEST(Exchange, MessagesOfSeveralModulesAreAllServed) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess device(9);
    ModuleProcess sms(11);
    for (ModuleProcess *sender : {&wlan, &device, &sms}) {
        sender->tell("burst 3 9001 10 50");
    }
    for (ModuleProcess *sender : {&wlan, &device, &sms}) {
        EXPECT_EQ("delivered=50", sender->reply());
    }
    EXPECT_TRUE(router.wait_for_messages(150));
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", device.ask("sync 3 40000 3 2 text:ok"));
}

TEST(Exchange, AModuleWithoutFlagsMaySendToo) {
    ModuleProcess router(3);
    ModuleProcess tool(0);
    EXPECT_EQ("ret=0 result=0 rsp=6869", tool.ask("sync 3 40000 3 2 text:hi"));
    EXPECT_EQ(std::vector<std::string>{"0 40000 2 6869"}, router.messages());
}

TEST(Exchange, ASyncRequestToItselfReturns0WhateverTheHandlerReturned) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=0 result=7", router.ask("sync 3 40001 3 0 int:7"));
    EXPECT_EQ("ret=0 result=2", router.ask("sync 3 40001 3 0 int:2"));
    EXPECT_EQ("ret=0 result=0 rsp=6162", router.ask("sync 3 40000 3 2 text:ab"));
}

TEST(Exchange, AnAsyncMessageToItselfIsHandled) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=15", router.ask("async 3 9001 3 text:me"));
    EXPECT_TRUE(router.wait_for_message("3 9001 2 6d65"));
}

TEST(Exchange, AModuleThatDoesNotRunFailsAtOnceWhateverTheLimit) {
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=1", wlan.ask("sync 3 40000 600 0 -"));
    EXPECT_EQ("ret=1", wlan.ask("async 3 40000 600 -"));
    EXPECT_TRUE(wlan.process().wait_for_error("ipc connect to module [router] failed!"));
}

TEST(Exchange, AnInvalidModuleIsRefused) {
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=1", wlan.ask("sync 0 40000 3 0 -"));
    EXPECT_EQ("ret=1", wlan.ask("sync 53 40000 3 0 -"));
    EXPECT_EQ("ret=1", wlan.ask("async -1 40000 3 -"));
    EXPECT_TRUE(wlan.process().wait_for_error("invalid module id=53"));
    EXPECT_TRUE(wlan.process().wait_for_error("invalid module id=-1"));
}

TEST(Exchange, ABroadcastReachesEveryMonitoredModuleButTheSender) {
    ModuleProcess monitor(1);  // watches the others and is not watched itself
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess serial_bridge(37);
    ModuleProcess qmi(38);  // serves, but nobody watches it
    EXPECT_EQ("done", wlan.ask("broadcast 9 text:de"));
    EXPECT_TRUE(router.wait_for_message("5 9 2 6465"));
    EXPECT_TRUE(serial_bridge.wait_for_message("5 9 2 6465"));
    EXPECT_TRUE(monitor.messages().empty());
    EXPECT_TRUE(wlan.messages().empty());
    EXPECT_TRUE(qmi.messages().empty());
}

TEST(Exchange, ABroadcastPassesOverModulesThatDoNotRun) {
    ModuleProcess wlan(5);
    ModuleProcess serial_bridge(37);
    EXPECT_EQ("done", serial_bridge.ask("broadcast 9 -"));
    EXPECT_TRUE(wlan.wait_for_message("37 9 0 -"));
}

TEST(Exchange, AStatusIs0BeforeRegistration1AfterItAndThenTheModulesOwn) {
    ModuleOptions options;
    options.registered = false;
    ModuleProcess router(3, options);
    ModuleProcess wlan(5);
    EXPECT_EQ("status=0", wlan.ask("status 3"));
    EXPECT_EQ("registered", router.ask("register"));
    EXPECT_EQ("status=1", wlan.ask("status 3"));
    EXPECT_EQ("done", router.ask("set-status 77"));
    EXPECT_EQ("status=77", wlan.ask("status 3"));
    EXPECT_EQ("status=77", router.ask("status 3"));
    EXPECT_EQ("registered", router.ask("register"));
    EXPECT_EQ("status=1", wlan.ask("status 3"));
}

TEST(Exchange, TheStatusOfAModuleThatDoesNotRunIs0) {
    ModuleProcess wlan(5);
    EXPECT_EQ("status=0", wlan.ask("status 3"));
    EXPECT_EQ("status=0", wlan.ask("status 53"));
}

TEST(Exchange, APeerThatIsKilledWhileItAnswersIsAFailedRead) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    wlan.tell("sync 3 40002 3 4 int:600000");
    ASSERT_TRUE(router.wait_for_messages(1));
    router.process().kill();
    EXPECT_EQ("ret=19 rsp=00000000", wlan.reply());
    EXPECT_TRUE(wlan.process().wait_for_error("ipc recv rsp header failed!"));
}

TEST(Exchange, AKilledPeerThatIsStartedAnewIsReachedAgain) {
    ModuleProcess wlan(5);
    {
        ModuleProcess router(3);
        EXPECT_EQ("ret=0 result=0", wlan.ask("sync 3 40000 3 0 -"));
        router.process().kill();
    }
    EXPECT_EQ("ret=1", wlan.ask("sync 3 40000 3 0 -"));
    ModuleProcess router(3);
    EXPECT_EQ("ret=0 result=0", wlan.ask("sync 3 40000 3 0 -"));
}

TEST(Exchange, ASenderThatIsKilledDoesNotDisturbTheReceiver) {
    ModuleProcess router(3);
    ModuleProcess device(9);
    {
        ModuleProcess wlan(5);
        wlan.tell("sync 3 40002 3 100000 int:300");
        ASSERT_TRUE(router.wait_for_messages(1));
    }
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", device.ask("sync 3 40000 3 2 text:ok"));
}

TEST(Exchange, EachRequestIsTraced) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    wlan.ask("sync 3 3001 3 0 -");
    wlan.ask("async 3 3002 3 -");
    ASSERT_TRUE(router.wait_for_messages(2));
    const std::string dhcp = "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001] ####";
    EXPECT_TRUE(wlan.process().wait_for_error(dhcp));
    EXPECT_TRUE(router.process().wait_for_error(dhcp));
    EXPECT_TRUE(wlan.process().wait_for_error(
        "#### [WLAN]-->[ROUTER]::[E_APPS_MSG_ROUTER_DHCPV6_CFG_SET:3002] ####"));
    EXPECT_TRUE(router.process().wait_for_error(
        "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_ROUTER_DHCPV6_CFG_SET:3002] ####"));
}

TEST(Exchange, PollsAreTracedButStayOutOfTheSystemLog) {
    SystemLog log;
    ModuleOptions options;
    options.environment = {"QUOR_SYSLOG_LEVEL=8"};
    ModuleProcess router(3, options);
    ModuleProcess wlan(5, options);
    wlan.ask("sync 3 4018 3 0 -");
    wlan.ask("sync 3 7 3 0 -");
    wlan.ask("sync 3 4019 3 0 -");
    EXPECT_TRUE(wlan.process().wait_for_error(
        "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_MNET_NOTIFY_SIG_LEVEL:4018] ####"));
    EXPECT_TRUE(log.wait_for("#### [WLAN]==>[ROUTER]::[E_APPS_MSG_MNET_NOTIFY_PINLOCK_STATUS:4019] ####"));
    EXPECT_EQ(0u, log.count(":4018] ####"));
    EXPECT_EQ(0u, log.count(":7] ####"));
}

}  // namespace
