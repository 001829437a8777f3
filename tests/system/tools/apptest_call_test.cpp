/*
 * apptest call: answers printed as a type, and the limit of the whole call.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kAppTest("apptest");

/* Messages that the scripted module answers in a way of its own. */
const char kEcho[] = "40000";
const char kReturn[] = "40001";
const char kSleep[] = "40002";
const char kFill[] = "40003";

class AppTestCall : public testing::Test {
  protected:
    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
};

TEST_F(AppTestCall, PrintsATypedAnswer) {
    wlan_.ask("set-status 0");
    EXPECT_EQ("0\n", kAppTest.output_of({"call", "wlan", "sys_status", "--as", "uint"}));
    wlan_.ask("set-status 700");
    EXPECT_EQ("700\n", kAppTest.output_of({"call", "wlan", "sys_status", "--as", "UINT"}));
    EXPECT_EQ("700\n", kAppTest.output_of({"call", "wlan", "sys_status", "--as", "int", "--room", "4"}));
    EXPECT_EQ("-91\n", kAppTest.output_of({"call", "wlan", kFill, "--as", "int8"}));
    EXPECT_EQ("42405\n", kAppTest.output_of({"call", "wlan", kFill, "--as", "uint", "--room", "2"}));
    EXPECT_EQ("-1515870811\n", kAppTest.output_of({"call", "wlan", kFill, "--as", "int"}));
    EXPECT_EQ("11936128518282651045\n",
              kAppTest.output_of({"call", "wlan", kFill, "--as", "uint", "--room", "8"}));
    EXPECT_EQ("1 -2 3\n",
              kAppTest.output_of({"call", "wlan", kEcho, "--as", "ints", "--int", "--", "1 -2 3"}));
    EXPECT_EQ("true\n", kAppTest.output_of({"call", "wlan", kFill, "--as", "bool"}));
    EXPECT_EQ("1.5\n", kAppTest.output_of({"call", "wlan", kEcho, "--as", "float", "--hex", "0000c03f"}));
}

TEST_F(AppTestCall, PrintsTextHexAndJson) {
    EXPECT_EQ("two\nlines\n", kAppTest.output_of({"call", "wlan", kEcho, "two\nlines", "--as", "text"}));
    EXPECT_EQ("6869\n", kAppTest.output_of({"call", "wlan", kEcho, "hi", "--as", "hex"}));
    EXPECT_EQ("68690000\n", kAppTest.output_of({"call", "wlan", kEcho, "hi", "--as", "hex", "--room", "4"}));
    EXPECT_EQ("{\n  \"on\": true\n}\n",
              kAppTest.output_of({"call", "wlan", kEcho, "{\"on\":true}", "--as", "json"}));
    kAppTest.expect_failure(
        1, "call wlan 40000 unknown: the answer is not JSON; --as text and --as hex print any",
        {"call", "wlan", kEcho, "on", "--as", "json"});
}

TEST_F(AppTestCall, ATextIsEscapedOnATerminalAndKeepsItsLines) {
    EXPECT_EQ("a\\x1b[2J\r\nb\r\n",
              run_on_terminal({"apptest", "call", "wlan", kEcho, "a\033[2J\nb", "--as", "text"}, {}).output);
}

TEST_F(AppTestCall, JsonHasTheTypedValue) {
    const auto expect = [](const std::string &end, const std::vector<std::string> &words) {
        std::vector<std::string> all = {"call", "wlan"};
        all.insert(all.end(), words.begin(), words.end());
        all.emplace_back("--json");
        const std::string output = kAppTest.output_of(all);
        EXPECT_NE(std::string::npos, output.find(end)) << output;
    };
    wlan_.ask("set-status 53");
    expect("\"text\": \"5\",\n  \"type\": \"uint\",\n  \"value\": 53\n}\n", {"sys_status", "--as", "uint"});
    expect("\"type\": \"uint64\",\n  \"value\": 11936128518282651045\n}\n", {kFill, "--as", "uint64"});
    expect("\"type\": \"ints\",\n  \"value\": [\n    1,\n    2\n  ]\n}\n",
           {kEcho, "--as", "ints", "--int", "1 2"});
    expect("\"type\": \"text\",\n  \"value\": \"5\"\n}\n", {kEcho, "5", "--as", "text"});
}

TEST_F(AppTestCall, AWrongSizeIsSaidAndNothingIsSent) {
    kAppTest.expect_failure(2, "--as int takes an answer of 1, 2, 4 or 8 bytes, and --room makes it 3",
                            {"call", "wlan", "5004", "--as", "int", "--room", "3"});
    kAppTest.expect_failure(2, "--as uint64 takes an answer of 8 bytes, and --room makes it 4",
                            {"call", "wlan", "5004", "--as", "uint64", "--room", "4"});
    EXPECT_EQ("", kAppTest.output_of({"call", "wlan", "5005"}));
    EXPECT_TRUE(wlan_.wait_for_message("49 5005 0 -"));
    EXPECT_EQ(1u, wlan_.messages().size()) << testing::PrintToString(wlan_.messages());
}

TEST_F(AppTestCall, AFailedRequestHasNoValue) {
    kAppTest.expect_failure(1, "call wlan 40001 unknown failed: 7 E_APPS_ERR_NOTFOUND",
                            {"call", "wlan", kReturn, "--int", "7", "--as", "uint"});
    const ToolEnd end = kAppTest.run({"call", "wlan", kReturn, "--int", "7", "--as", "uint", "--json"});
    EXPECT_EQ(1, end.status);
    EXPECT_NE(std::string::npos, end.output.find("\"result\": 7,\n")) << end.output;
    EXPECT_NE(std::string::npos, end.output.find("\"type\": \"uint\"\n}\n")) << end.output;
}

TEST_F(AppTestCall, UnknownTypesGetTheNearestRightOne) {
    kAppTest.expect_usage("--as: unknown type 'unit'; did you mean 'uint'?",
                          {"call", "wlan", "6", "--as", "unit"});
    kAppTest.expect_usage("--dump and --as can't be given together",
                          {"call", "wlan", "6", "--as", "uint", "--dump"});
    EXPECT_EQ("uint\nuint8\nuint16\nuint32\nuint64\nuints\n",
              kAppTest.output_of({"--complete", "call", "wlan", "6", "--as", "u"}));
}

// ---- the limit ----

/* The handler would take a minute, which is longer than any test waits. */
TEST_F(AppTestCall, TheTimeLimitBoundsTheAnswerToo) {
    kAppTest.expect_failure(
        3, "call wlan 40002 unknown failed: wlan did not answer in time: 2 E_APPS_ERR_TIMEOUT",
        {"call", "wlan", kSleep, "--int", "60000", "--timeout", "0.1"});
    EXPECT_TRUE(wlan_.wait_for_message("49 40002 4 60ea0000"));
}

TEST_F(AppTestCall, TheTimeLimitBoundsAModuleThatHangs) {
    wlan_.process().stop();
    kAppTest.expect_failure(
        3, "call wlan 6 E_APPS_MSG_SYS_STATUS failed: wlan did not answer in time: 2 E_APPS_ERR_TIMEOUT",
        {"call", "wlan", "sys_status", "--timeout", "1", "--json"});
}

TEST_F(AppTestCall, AnAnswerWithinTheTimeLimitIsPrinted) {
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "wlan", kEcho, "hello", "--timeout", "60"}));
    EXPECT_EQ("hello\n", kAppTest.output_of({"call", "wlan", kEcho, "hello", "--timeout", "0"}));
}

}  // namespace
