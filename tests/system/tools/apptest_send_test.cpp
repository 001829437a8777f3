/*
 * apptest sends: single messages of every kind, to real modules.
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

/* Messages that the scripted module answers in a way of its own. */
const char kEcho[] = "40000";
const char kReturn[] = "40001";
const char kFill[] = "40003";

class AppTestSend : public testing::Test {
  protected:
    /* The message as the module's handler recorded it: from apptest. */
    void expect_message(const std::string &rest) {
        EXPECT_TRUE(wlan_.wait_for_message("49 " + rest)) << testing::PrintToString(wlan_.messages());
    }

    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
};

TEST_F(AppTestSend, CallsByNameAliasOrNumber) {
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "wlan", kEcho, "hello"}));
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "WLAN", kEcho, "hello"}));
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "5", "0x9c40", "hello"}));
    EXPECT_EQ("", kAppTest.output_of({"call", "wlan", "sys_probe"}));
    EXPECT_EQ("", kAppTest.output_of({"call", "wlan", "E_APPS_MSG_SYS_PROBE"}));
}

TEST_F(AppTestSend, SendsTheBodyAsTextHexNumbersOrFile) {
    (void)kAppTest.output_of({"call", "wlan", "5004", "--nul", "ab"});
    expect_message("5004 3 616200");
    (void)kAppTest.output_of({"call", "wlan", "5004", "--hex", "00 ff:10"});
    expect_message("5004 3 00ff10");
    (void)kAppTest.output_of({"call", "wlan", "5004", "--int", "--", "1,-2"});
    expect_message("5004 8 01000000feffffff");
    (void)kAppTest.output_of({"call", "wlan", "5004", "--file", "-"}, "line");
    expect_message("5004 5 6c696e650a");
    ASSERT_TRUE(write_text("/tmp/body.hex", "0102"));
    (void)kAppTest.output_of({"call", "wlan", "5004", "--hex", "--file", "/tmp/body.hex"});
    expect_message("5004 2 0102");
}

TEST_F(AppTestSend, ShowsBytesThatAreNoText) {
    EXPECT_EQ(
        "00000000  a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5 a5  ................\n"
        "00000010  a5 a5                                            ..\n",
        kAppTest.output_of({"call", "wlan", kFill, "--room", "18"}));
    EXPECT_EQ("00000000  68 69                                            hi\n(6 zero bytes)\n",
              kAppTest.output_of({"call", "wlan", kEcho, "hi", "--room", "8", "--dump"}));
}

TEST_F(AppTestSend, ShowsTheAnswerAsJson) {
    std::string output =
        kAppTest.output_of({"call", "wlan", kEcho, "{\"on\": true}", "--json", "--room", "14"});
    const size_t begin = output.find("  \"microseconds\": ");
    ASSERT_NE(std::string::npos, begin) << output;
    output.erase(begin, output.find('\n', begin) + 1 - begin);
    EXPECT_EQ(
        "{\n"
        "  \"result\": 0,\n"
        "  \"name\": \"E_APPS_ERR_SUCCESS\",\n"
        "  \"length\": 14,\n"
        "  \"hex\": \"7b226f6e223a20747275657d0000\",\n"
        "  \"text\": \"{\\\"on\\\": true}\",\n"
        "  \"value\": {\n"
        "    \"on\": true\n"
        "  }\n"
        "}\n",
        output);
}

TEST_F(AppTestSend, ShowsWhatTheAnswerIsInJson) {
    const std::string bytes = kAppTest.output_of({"call", "wlan", kFill, "--room", "2", "--json"});
    EXPECT_NE(std::string::npos, bytes.find("  \"hex\": \"a5a5\"\n}\n")) << bytes;
    const std::string text = kAppTest.output_of({"call", "wlan", kEcho, "plain", "--json"});
    EXPECT_NE(std::string::npos, text.find("  \"text\": \"plain\"\n}\n")) << text;
}

TEST_F(AppTestSend, JsonHasEveryByteOfTheAnswer) {
    wlan_.ask("set-status 0");
    const std::string zero = kAppTest.output_of({"call", "wlan", "sys_status", "--room", "4", "--json"});
    EXPECT_NE(std::string::npos, zero.find("\"length\": 4,\n  \"hex\": \"00000000\",")) << zero;
    const std::string memory = kAppTest.output_of({"call", "wlan", "8", "--room", "24", "--json"});
    const std::string begin = "\"length\": 24,\n  \"hex\": \"";
    const size_t at = memory.find(begin);
    ASSERT_NE(std::string::npos, at) << memory;
    EXPECT_EQ(at + begin.size() + 48, memory.find('"', at + begin.size())) << memory;
    const std::string none = kAppTest.output_of({"call", "wlan", "sys_probe", "--room", "0", "--json"});
    EXPECT_NE(std::string::npos, none.find("\"length\": 0,\n  \"hex\": \"\",")) << none;
}

TEST_F(AppTestSend, ANumberThatIsZeroIsAnAnswer) {
    wlan_.ask("set-status 0");
    EXPECT_EQ("(4 zero bytes)\n", kAppTest.output_of({"call", "wlan", "sys_status", "--room", "4"}));
    EXPECT_EQ("", kAppTest.output_of({"call", "wlan", "sys_probe", "--room", "0"}));
}

TEST_F(AppTestSend, ShowsTheCodeThatTheModuleReturned) {
    kAppTest.expect_failure(1, "call wlan 40001 unknown failed: 7 E_APPS_ERR_NOTFOUND",
                            {"call", "wlan", kReturn, "--int", "7"});
    kAppTest.expect_failure(1, "call wlan 40001 unknown failed: 777 unknown",
                            {"call", "wlan", kReturn, "--int", "777"});
}

TEST_F(AppTestSend, ARoomThatIsTooSmallIsSaidSo) {
    kAppTest.expect_failure(
        1,
        "call wlan 6 E_APPS_MSG_SYS_STATUS failed: 3 E_APPS_ERR_PARAM; --room 3 is too small, "
        "the answer has 4 bytes",
        {"call", "wlan", "sys_status", "--room", "3"});
    kAppTest.expect_failure(
        1,
        "call wlan 40001 unknown failed: 9 E_APPS_ERR_OUTOFBUF; --room 0 is too small for the "
        "answer",
        {"call", "wlan", kReturn, "--int", "9", "--room", "0"});
}

TEST_F(AppTestSend, AModuleThatGoesAwayWithoutAnAnswerIsNotReachable) {
    kAppTest.expect_failure(3,
                            "call wlan 1 E_APPS_MSG_SYS_EXIT failed: wlan went away without an answer: "
                            "19 E_APPS_ERR_READ",
                            {"call", "wlan", "sys_exit"});
}

TEST_F(AppTestSend, SendsAndNotifies) {
    EXPECT_EQ("", kAppTest.output_of({"send", "--timeout", "5", "wlan", "5005", "x"}));
    expect_message("5005 1 78");
    EXPECT_EQ("", kAppTest.output_of({"notify", "wlan", "5006", "y"}));
    expect_message("5006 1 79");
}

TEST_F(AppTestSend, BroadcastsToEveryMonitoredModule) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    EXPECT_EQ("", kAppTest.output_of({"broadcast", "sys_device_offline", "z"}));
    expect_message("13 1 7a");
    EXPECT_TRUE(router.wait_for_message("49 13 1 7a"));
}

TEST_F(AppTestSend, PublishesToTheSubscribersOfAnEvent) {
    std::filesystem::create_directories("/m_data/usr/subscribe");
    ASSERT_TRUE(write_text("/m_data/usr/subscribe/E_APPS_MSG_SYS_LANGUAGE_CHANGE", "wlan\n"));
    ASSERT_TRUE(write_text("/m_data/usr/subscribe/weather", "wlan\n"));
    EXPECT_EQ("E_APPS_MSG_SYS_LANGUAGE_CHANGE has 1 listener: wlan\n",
              kAppTest.output_of({"publish", "E_APPS_MSG_SYS_LANGUAGE_CHANGE", "en"}));
    expect_message("9 2 656e");
    EXPECT_EQ("weather has 1 listener: wlan\n",
              kAppTest.output_of({"publish", "--message", "5004", "weather", "--int", "1"}));
    expect_message("5004 4 01000000");
    kAppTest.expect_failure(2, "unknown message 'weather'", {"publish", "weather"});
    EXPECT_EQ("E_APPS_MSG_SYS_LANGUAGE_CHANGE has 1 listener: wlan\n",
              kAppTest.output_of({"publish", "sys_language_change", "de"}));
    expect_message("9 2 6465");
}

TEST_F(AppTestSend, PublishingCountsTheListeners) {
    std::filesystem::create_directories("/m_data/usr/subscribe");
    ASSERT_TRUE(write_text("/m_data/usr/subscribe/weather", "wlan\nnobody\nlcd\n"));
    EXPECT_EQ("weather has 2 listeners: wlan lcd\n",
              kAppTest.output_of({"publish", "--message", "5004", "weather"}));
    EXPECT_EQ("traffic has 0 listeners\n", kAppTest.output_of({"publish", "--message", "5004", "traffic"}));
}

TEST_F(AppTestSend, AnEventWhoseListenersCannotBeReadIsNotPublished) {
    namespace fs = std::filesystem;
    const fs::path folder = "/m_data/usr/subscribe";
    fs::create_directories(folder);
    ASSERT_TRUE(write_text(folder / "weather", "wlan\n"));
    for (const fs::path &closed : {folder / "weather", folder}) {
        fs::permissions(closed, fs::perms::none);
        const ToolEnd end = run_shell(modes_hold() + "$TOOLS/apptest publish --message 9 weather");
        fs::permissions(closed, fs::perms::owner_all);
        EXPECT_EQ(1, end.status);
        EXPECT_EQ("", end.output);
        EXPECT_EQ(0u, end.errors.find("apptest: publish 'weather' failed: can't read " + closed.string() +
                                      ": no access to " + closed.string() + " (owner "))
            << end.errors;
    }
}

TEST_F(AppTestSend, AnEventThatExistsIsNotTakenForAMessage) {
    std::filesystem::create_directories("/m_data/usr/subscribe");
    ASSERT_TRUE(write_text("/m_data/usr/subscribe/sys_probe", "wlan\n"));
    EXPECT_EQ("sys_probe has 1 listener: wlan\n",
              kAppTest.output_of({"publish", "--message", "5004", "sys_probe"}));
}

TEST_F(AppTestSend, AModuleThatDoesNotRunIsNotReachable) {
    forget_module("router");
    for (const char *command : {"call", "send", "notify"}) {
        kAppTest.expect_failure(3,
                                std::string(command) +
                                    " router 3004 E_APPS_MSG_ROUTER_HOSTS_INFO_REQ "
                                    "failed: router is not running: 1 E_APPS_ERR_MODULE",
                                {command, "router", "router_hosts_info_req"});
    }
}

TEST_F(AppTestSend, WrongNamesGetTheNearestRightOne) {
    kAppTest.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"call", "wlna", "6"});
    kAppTest.expect_failure(2, "there is no module 45", {"call", "45", "6"});
    kAppTest.expect_failure(2, "unknown message 'sys_staus'; did you mean 'SYS_STATUS'?",
                            {"call", "wlan", "sys_staus"});
    kAppTest.expect_failure(2, "unknown message 'xyz'", {"send", "wlan", "xyz"});
    kAppTest.expect_usage("unknown command 'cal'; did you mean 'call'?", {"cal"});
}

TEST_F(AppTestSend, BodiesThatMakeNoSenseAreWrongUsage) {
    kAppTest.expect_failure(2, "'0g' is not a hexadecimal byte", {"call", "wlan", "5004", "--hex", "000g"});
    kAppTest.expect_failure(2, "'0' is not a hexadecimal byte", {"send", "wlan", "5004", "--hex", "000"});
    kAppTest.expect_failure(2, "'1x' is not a 32-bit number", {"notify", "wlan", "5004", "--int", "1x"});
    kAppTest.expect_failure(2, "can't read /no/file: No such file or directory",
                            {"broadcast", "5004", "--file", "/no/file"});
    kAppTest.expect_usage("BODY and --file can't be given together",
                          {"call", "wlan", "5004", "x", "--file", "y"});
    kAppTest.expect_usage("--room: '67108865' is not a whole number from 0 to 67108864",
                          {"call", "wlan", "5004", "--room", "67108865"});
}

TEST_F(AppTestSend, ListsMessages) {
    EXPECT_EQ("NUMBER  NAME\n6       E_APPS_MSG_SYS_STATUS\n",
              kAppTest.output_of({"messages", "SYS_STATUS"}));
    EXPECT_EQ(kAppTest.output_of({"messages", "WLAN"}), kAppTest.output_of({"messages", "wlan"}));
    EXPECT_EQ("NUMBER  NAME\n6       E_APPS_MSG_SYS_STATUS\n",
              kAppTest.output_of({"messages", "e_apps_msg_sys_status"}));
    EXPECT_EQ("[\n  {\n    \"number\": 7,\n    \"name\": \"E_APPS_MSG_SYS_PROBE\"\n  }\n]\n",
              kAppTest.output_of({"messages", "--json", "SYS_PROBE"}));
}

TEST_F(AppTestSend, ATableFitsATerminalOf40Columns) {
    TerminalOptions narrow;
    narrow.columns = 40;
    const std::string table = run_on_terminal({"apptest", "messages", "MWWAN"}, narrow).output;
    EXPECT_NE(std::string::npos, table.find("3022    E_APPS_MSG_ROUTER_NOTIFY_MWWAN_~\r\n")) << table;
}

TEST_F(AppTestSend, CtrlCEndsACallThatIsNotAnswered) {
    ChildProcess call({tool_path("apptest"), "call", "wlan", "40002", "--int", "60000"}, {"QUOR_DEBUG=0"});
    expect_message("40002 4 60ea0000");
    call.send_signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, call.exit_status());
}

TEST_F(AppTestSend, CompletesModulesAndMessages) {
    EXPECT_EQ("wlan\nwebserver\n", kAppTest.output_of({"--complete", "call", "w"}));
    EXPECT_EQ("E_APPS_MSG_SYS_STATUS\n",
              kAppTest.output_of({"--complete", "call", "wlan", "E_APPS_MSG_SYS_ST"}));
    EXPECT_EQ("wlan\n", kAppTest.output_of({"--complete", "call", "--timeout", "5", "wl"}));
    EXPECT_EQ("wlan\n", kAppTest.output_of({"--complete", "call", "--no-such", "wl"}));
    EXPECT_EQ("", kAppTest.output_of({"--complete", "call", "wlan", "6", "body", "too many", ""}));
    EXPECT_EQ("E_APPS_MSG_SYS_PROBE\n",
              kAppTest.output_of({"--complete", "publish", "--message", "E_APPS_MSG_SYS_P"}));
}

}  // namespace
