/*
 * apptest receives: it subscribes to events, and plays modules for real modules.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "support/unprivileged.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kAppTest("apptest");

const char kEvents[] = "/m_data/usr/subscribe";
const char kSocket[] = "/tmp/m_tmp/ipc/apptest";

/* apptest in the background, serving. */
class Serving {
  public:
    explicit Serving(std::vector<std::string> words, const std::string &module = "apptest")
        : process_(command(std::move(words)), {"QUOR_DEBUG=0"}) {
        const std::string socket = "/tmp/m_tmp/ipc/" + module;
        EXPECT_TRUE(wait_until([&] { return std::filesystem::exists(socket); })) << process_.errors();
    }

    std::string line() { return process_.read_line().value_or("no line"); }
    ChildProcess &process() { return process_; }

    int interrupt() {
        process_.send_signal(SIGINT);
        return process_.exit_status();
    }

  private:
    static std::vector<std::string> command(std::vector<std::string> words) {
        words.insert(words.begin(), tool_path("apptest"));
        return words;
    }

    ChildProcess process_;
};

bool is_subscribed(const std::string &event) {
    return wait_until([&] { return file_text(std::string(kEvents) + "/" + event) == "apptest\n"; });
}

class AppTestReceive : public testing::Test {
  protected:
    AppTestReceive() {
        std::filesystem::remove_all(kEvents);
        std::filesystem::create_directories(kEvents);
        std::filesystem::create_directories("/tmp/m_tmp/lock");
    }

    /* Waits until the module that is played answers. */
    void wait_for_module(const std::string &id) {
        EXPECT_TRUE(wait_until([&] { return router_.ask("status " + id) == "status=1"; }));
    }

    ModuleProcess router_{E_APPS_MODULE_ROUTER};
};

TEST_F(AppTestReceive, PrintsWhatArrivesUntilThereIsEnough) {
    Serving subscriber({"subscribe", "--count", "2", "weather", "E_APPS_MSG_SYS_LANGUAGE_CHANGE"});
    ASSERT_TRUE(is_subscribed("weather"));
    ASSERT_TRUE(is_subscribed("E_APPS_MSG_SYS_LANGUAGE_CHANGE"));
    EXPECT_EQ("ret=15", router_.ask("async 49 5004 3 text:rain"));
    EXPECT_EQ("ret=15", router_.ask("async 49 9 3 int:255"));
    EXPECT_EQ("router 5004 E_APPS_MSG_WLAN_WIRELESS_MACFILTER_CONFIG 4 bytes: rain", subscriber.line());
    EXPECT_EQ("router 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 4 bytes: ff000000", subscriber.line());
    EXPECT_EQ(0, subscriber.process().exit_status());
    EXPECT_EQ("", subscriber.process().errors());
}

TEST_F(AppTestReceive, SubscribesToWhatAPatternMatches) {
    ASSERT_TRUE(write_text(std::string(kEvents) + "/wlan_weather", "router\n"));
    ASSERT_TRUE(write_text(std::string(kEvents) + "/traffic", "router\n"));
    Serving subscriber({"subscribe", "--count", "2", "*weather", "SYS_language_*", "*_LANGUAGE_change"});
    ASSERT_TRUE(is_subscribed("E_APPS_MSG_SYS_LANGUAGE_CHANGE"));
    EXPECT_EQ("router\napptest\n", file_text(std::string(kEvents) + "/wlan_weather"));
    EXPECT_EQ("router\n", file_text(std::string(kEvents) + "/traffic"));
    EXPECT_EQ("ret=15", router_.ask("async 49 9 3 -"));
    EXPECT_EQ("router 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 0 bytes", subscriber.line());
    EXPECT_EQ(0, subscriber.interrupt());
    EXPECT_EQ("router\n", file_text(std::string(kEvents) + "/wlan_weather"));
    EXPECT_FALSE(std::filesystem::exists(std::string(kEvents) + "/E_APPS_MSG_SYS_LANGUAGE_CHANGE"));
}

TEST_F(AppTestReceive, APatternThatMatchesNothingOrTooMuchIsWrongUsage) {
    kAppTest.expect_failure(2, "no event and no message matches 'snow*'", {"subscribe", "snow*"});
    const ToolEnd all = run_tool({"apptest", "subscribe", "weather", "*"});
    EXPECT_EQ(2, all.status);
    EXPECT_EQ(0u, all.errors.find("apptest: '*' matches ")) << all.errors;
    EXPECT_NE(std::string::npos, all.errors.find(" events and messages, the most is 64\n")) << all.errors;
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
}

TEST_F(AppTestReceive, AnEventWithTheNameOfAPatternIsThatEvent) {
    ASSERT_TRUE(write_text(std::string(kEvents) + "/wea*", "router\n"));
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "router\n"));
    Serving subscriber({"subscribe", "wea*"});
    EXPECT_TRUE(wait_until([] { return file_text(std::string(kEvents) + "/wea*") == "router\napptest\n"; }));
    EXPECT_EQ("router\n", file_text(std::string(kEvents) + "/weather"));
}

TEST_F(AppTestReceive, PrintsJsonOneObjectALine) {
    Serving subscriber({"subscribe", "--json", "weather"});
    ASSERT_TRUE(is_subscribed("weather"));
    EXPECT_EQ("ret=15", router_.ask("async 49 9 3 text:a"));
    EXPECT_EQ(
        "{\"from\":\"router\",\"message\":9,\"name\":\"E_APPS_MSG_SYS_LANGUAGE_CHANGE\",\"length\":1,"
        "\"hex\":\"61\",\"text\":\"a\"}",
        subscriber.line());
    EXPECT_EQ("ret=15", router_.ask("async 49 9 3 -"));
    EXPECT_EQ(
        "{\"from\":\"router\",\"message\":9,\"name\":\"E_APPS_MSG_SYS_LANGUAGE_CHANGE\",\"length\":0,"
        "\"hex\":\"\",\"text\":\"\"}",
        subscriber.line());
}

TEST_F(AppTestReceive, CtrlCEndsTheSubscriptionsAndLeavesNothingBehind) {
    Serving subscriber({"subscribe", "weather", "traffic"});
    ASSERT_TRUE(is_subscribed("weather"));
    ASSERT_TRUE(is_subscribed("traffic"));
    EXPECT_EQ(0, subscriber.interrupt());
    EXPECT_EQ("", subscriber.process().errors());
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
    EXPECT_FALSE(std::filesystem::exists(kSocket));
}

TEST_F(AppTestReceive, AMessageThatEndsItLeavesNothingBehindEither) {
    Serving subscriber({"subscribe", "weather"});
    ASSERT_TRUE(is_subscribed("weather"));
    EXPECT_EQ("ret=15", router_.ask("async 49 1 3 -"));
    EXPECT_EQ(0, subscriber.process().exit_status());
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
    EXPECT_FALSE(std::filesystem::exists(kSocket));
}

TEST_F(AppTestReceive, SaysHowManyCameInTime) {
    kAppTest.expect_failure(1, "0 of 3 messages arrived in time",
                            {"subscribe", "--count", "3", "--seconds", "0.01", "weather"});
    EXPECT_EQ("", kAppTest.output_of({"subscribe", "--seconds", "0.01", "weather"}));
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
}

TEST_F(AppTestReceive, AnEventThatCannotBeSubscribedTakesTheOthersBack) {
    kAppTest.expect_failure(
        1, "subscribe 'a/b' failed: 12 E_APPS_ERR_IO; the event's name is not a valid file name",
        {"subscribe", "weather", "a/b"});
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
    EXPECT_FALSE(std::filesystem::exists(kSocket));
}

TEST_F(AppTestReceive, ASubscriptionThatCannotBeEndedIsSaidSo) {
    Serving subscriber({"subscribe", "weather"});
    ASSERT_TRUE(is_subscribed("weather"));
    std::filesystem::remove_all("/tmp/m_tmp/lock");
    EXPECT_EQ(1, subscriber.interrupt());
    EXPECT_EQ("apptest: unsubscribe 'weather' failed: 17 E_APPS_ERR_BUSY\n", subscriber.process().errors());
}

TEST_F(AppTestReceive, ASecondSubscriberDoesNotTakeTheFirstOnesMessages) {
    Serving subscriber({"subscribe", "weather"});
    ASSERT_TRUE(is_subscribed("weather"));
    kAppTest.expect_failure(1,
                            "another apptest subscribe is running (pid " +
                                std::to_string(subscriber.process().pid()) +
                                "); --as MODULE subscribes as another module",
                            {"subscribe", "weather"});
    EXPECT_EQ("ret=15", router_.ask("async 49 9 3 -"));
    EXPECT_EQ("router 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 0 bytes", subscriber.line());
}

/* apptest publishes, so the subscriber must be another module. */
TEST_F(AppTestReceive, HearsWhatApptestPublishesAsAnotherModule) {
    Serving subscriber({"subscribe", "--as", "sms", "sys_language_change"}, "sms");
    ASSERT_TRUE(wait_until(
        [] { return file_text(std::string(kEvents) + "/E_APPS_MSG_SYS_LANGUAGE_CHANGE") == "sms\n"; }));
    EXPECT_EQ("E_APPS_MSG_SYS_LANGUAGE_CHANGE has 1 listener: sms\n",
              kAppTest.output_of({"publish", "Sys_Language_Change", "en"}));
    EXPECT_EQ("apptest 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 2 bytes: en", subscriber.line());
    EXPECT_EQ(0, subscriber.interrupt());
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
    EXPECT_FALSE(std::filesystem::exists("/tmp/m_tmp/ipc/sms"));
}

TEST_F(AppTestReceive, SubscribersOfDifferentNamesRunSideBySide) {
    Serving one({"subscribe", "weather"});
    ASSERT_TRUE(is_subscribed("weather"));
    Serving other({"subscribe", "--as", "sms", "weather"}, "sms");
    ASSERT_TRUE(wait_until([] { return file_text(std::string(kEvents) + "/weather") == "apptest\nsms\n"; }));
    const ToolEnd end = kAppTest.run({"publish", "--message", "9", "weather", "rain"});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ("weather has 1 listener: sms\n", end.output);
    EXPECT_EQ(
        "apptest: apptest itself subscribes too, but a publisher never hears itself; use 'apptest subscribe "
        "--as "
        "MODULE'\n",
        end.errors);
    EXPECT_EQ("apptest 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 4 bytes: rain", other.line());
}

TEST_F(AppTestReceive, AModuleThatRunsOrHasAnUnfitNameIsNoIdentity) {
    kAppTest.expect_failure(
        1,
        "router is running (pid " + std::to_string(router_.pid()) + "); a module that runs can't be played",
        {"subscribe", "--as", "router", "weather"});
    kAppTest.expect_failure(
        2, "can't subscribe as oma: unsubscribing would remove omadm, whose name contains it",
        {"subscribe", "--as", "oma", "weather"});
    kAppTest.expect_failure(2, "unknown module 'smss'; did you mean 'sms'?",
                            {"subscribe", "--as", "smss", "weather"});
    EXPECT_TRUE(std::filesystem::is_empty(kEvents));
}

TEST_F(AppTestReceive, TheModulesOwnSubscriptionStays) {
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "sms\n"));
    EXPECT_EQ("",
              kAppTest.output_of({"subscribe", "--as", "sms", "--seconds", "0.01", "weather", "traffic"}));
    EXPECT_EQ("sms\n", file_text(std::string(kEvents) + "/weather"));
    EXPECT_FALSE(std::filesystem::exists(std::string(kEvents) + "/traffic"));
}

TEST_F(AppTestReceive, WhatKeepsItFromSubscribingIsNamed) {
    namespace fs = std::filesystem;
    const std::string failed = "apptest: subscribe 'weather' failed: ";
    const auto errors = [] {
        return run_shell(modes_hold() + "$TOOLS/apptest subscribe --seconds 0.01 weather").errors;
    };
    fs::permissions(kEvents, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(0u, errors().find(failed + "12 E_APPS_ERR_IO; no access to " + kEvents + " (owner "));
    fs::permissions(kEvents, fs::perms::owner_all);
    fs::permissions("/tmp/m_tmp/lock/subscribe", fs::perms::none);
    EXPECT_EQ(0u,
              errors().find(failed + "17 E_APPS_ERR_BUSY; no access to /tmp/m_tmp/lock/subscribe (owner "));
    fs::remove("/tmp/m_tmp/lock/subscribe");
    fs::remove_all(kEvents);
    EXPECT_EQ(failed + "12 E_APPS_ERR_IO; the folder " + kEvents + " is missing\n", errors());
    fs::create_directories(kEvents);
    fs::remove_all("/tmp/m_tmp/lock");
    EXPECT_EQ(failed + "17 E_APPS_ERR_BUSY; the folder /tmp/m_tmp/lock is missing\n", errors());
}

TEST_F(AppTestReceive, AReaderThatLeavesEndsIt) {
    const ToolEnd end = run_shell(
        "mkfifo /tmp/closed.$$; exec 3<>/tmp/closed.$$ 4>/tmp/closed.$$ 3<&-; "
        "$TOOLS/apptest serve wlan >&4 & until [ -S /tmp/m_tmp/ipc/wlan ]; do sleep 0.01; done; "
        "$TOOLS/apptest call wlan 5004; wait $!");
    EXPECT_EQ(0, end.status);
    EXPECT_EQ("", end.errors);
}

TEST_F(AppTestReceive, PlaysAModuleWithOneAnswerForEverything) {
    Serving wlan({"serve", "wlan", "--answer", "0 text=hello", "--count", "1"}, "wlan");
    wait_for_module("5");
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "wlan", "5004", "you"}));
    EXPECT_EQ("apptest 5004 E_APPS_MSG_WLAN_WIRELESS_MACFILTER_CONFIG 3 bytes: you", wlan.line());
    EXPECT_EQ(0, wlan.process().exit_status());
    EXPECT_FALSE(std::filesystem::exists("/tmp/m_tmp/ipc/wlan"));
}

TEST_F(AppTestReceive, AMessageThatNobodyWaitsForIsTakenAllTheSame) {
    Serving wlan({"serve", "wlan", "--answer", "0 text=hello", "--count", "1"}, "wlan");
    wait_for_module("5");
    EXPECT_EQ("", kAppTest.output_of({"send", "wlan", "5004", "you"}));
    EXPECT_EQ("apptest 5004 E_APPS_MSG_WLAN_WIRELESS_MACFILTER_CONFIG 3 bytes: you", wlan.line());
    EXPECT_EQ(0, wlan.process().exit_status());
}

TEST_F(AppTestReceive, PlaysAModuleAsScripted) {
    ASSERT_TRUE(write_text("/tmp/answers.txt",
                           "# what wlan says\n5004 0 text=one client\n5004 0 text=two clients\n"
                           "5005 busy delay=1\n5006 0 hex=01 02\n5007 0 int=3\n* unsupported echo\n"));
    Serving wlan({"serve", "wlan", "--script", "/tmp/answers.txt"}, "wlan");
    wait_for_module("5");
    EXPECT_EQ("one client\n", kAppTest.output_of({"call", "wlan", "5004"}));
    EXPECT_EQ("two clients\n", kAppTest.output_of({"call", "wlan", "5004"}));
    EXPECT_EQ("two clients\n", kAppTest.output_of({"call", "wlan", "5004"}));
    EXPECT_EQ(1, kAppTest.run({"call", "wlan", "5005"}).status);
    EXPECT_EQ("00000000  01 02                                            ..\n",
              kAppTest.output_of({"call", "wlan", "5006", "--room", "2"}));
    EXPECT_EQ("00000000  03                                               .\n(3 zero bytes)\n",
              kAppTest.output_of({"call", "wlan", "5007", "--room", "4"}));
    const ToolEnd end = kAppTest.run({"call", "wlan", "5010", "back"});
    EXPECT_EQ("back\n", end.output);
    EXPECT_EQ(
        "apptest: call wlan 5010 E_APPS_MSG_WLAN_RESET_WPS_AP_PIN_CODE failed: 8 E_APPS_ERR_UNSUPPORTED; "
        "the module doesn't know this message\n",
        end.errors);
    EXPECT_EQ(0, wlan.interrupt());
    EXPECT_FALSE(std::filesystem::exists("/tmp/m_tmp/ipc/wlan"));
}

TEST_F(AppTestReceive, AnAnswerThatDoesNotFitTheSendersRoomIsRefused) {
    Serving wlan({"serve", "wlan", "--answer", "0 text=too long"}, "wlan");
    wait_for_module("5");
    kAppTest.expect_failure(1,
                            "call wlan 5004 E_APPS_MSG_WLAN_WIRELESS_MACFILTER_CONFIG failed: "
                            "9 E_APPS_ERR_OUTOFBUF; --room 4 is too small for the answer",
                            {"call", "wlan", "5004", "--room", "4"});
    EXPECT_TRUE(
        wlan.process().wait_for_error("apptest: the answer to 5004 E_APPS_MSG_WLAN_WIRELESS_MACFILTER_CONFIG "
                                      "has 8 bytes, but the sender takes "
                                      "4\n"));
}

TEST_F(AppTestReceive, DoesNotPlayAModuleThatRuns) {
    const std::string running =
        "router is running (pid " + std::to_string(router_.pid()) + "); a module that runs can't be played";
    kAppTest.expect_failure(1, running, {"serve", "router"});
    EXPECT_EQ("status=1", router_.ask("status 3"));
    std::filesystem::remove("/tmp/m_tmp/ipc/router");
    kAppTest.expect_failure(1, running, {"serve", "router"});
}

/* One sentence of its own, instead of what the library or a shell prints when they fail. */
TEST_F(AppTestReceive, WhoMayNotPlayAModuleIsToldWhy) {
    namespace fs = std::filesystem;
    const auto expect_refusal = [](const std::string &closed, fs::perms mode, const std::string &octal) {
        const fs::perms before = fs::status(closed).permissions();
        fs::permissions(closed, mode);
        const ToolEnd end = run_shell(modes_hold() + "$TOOLS/apptest serve wlan");
        fs::permissions(closed, before);
        EXPECT_EQ(1, end.status);
        EXPECT_EQ(0u, end.errors.find("apptest: can't play wlan: no access to " + closed + " (owner "))
            << end.errors;
        EXPECT_NE(std::string::npos,
                  end.errors.find(", mode " + octal + "; try 'chmod u+rwX " + closed + "')\n"))
            << end.errors;
        EXPECT_EQ(end.errors.size() - 1, end.errors.find('\n')) << end.errors;
    };
    const fs::perms look_only = fs::perms::owner_read | fs::perms::owner_exec;
    fs::remove("/tmp/m_tmp/lock/wlan");
    expect_refusal("/tmp/m_tmp/lock", look_only, "0500");
    expect_refusal("/tmp/m_tmp/ipc", look_only, "0500");
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock/wlan", ""));
    expect_refusal("/tmp/m_tmp/lock/wlan", fs::perms::owner_read, "0400");
    fs::remove_all("/tmp/m_tmp/ipc");
    expect_refusal("/tmp/m_tmp", look_only, "0500");
}

TEST_F(AppTestReceive, AScriptThatMakesNoSenseIsWrongUsage) {
    ASSERT_TRUE(write_text("/tmp/answers.txt", "5004 0\n5005 bsuy\n"));
    kAppTest.expect_failure(2, "/tmp/answers.txt:2: unknown result code 'bsuy'; did you mean 'BUSY'?",
                            {"serve", "wlan", "--script", "/tmp/answers.txt"});
    kAppTest.expect_failure(2, "can't read /no/file: No such file or directory",
                            {"serve", "wlan", "--script", "/no/file"});
    kAppTest.expect_failure(2, "--answer: unknown answer 'txt=x': delay=, text=, hex=, int= or echo",
                            {"serve", "wlan", "--answer", "0 txt=x"});
    kAppTest.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"serve", "wlna"});
}

}  // namespace
