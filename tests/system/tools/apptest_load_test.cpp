/*
 * apptest loads a module with requests and prints the results.
 */
#include <gtest/gtest.h>

#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kAppTest("apptest");

class AppTestLoad : public testing::Test {
  protected:
    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
};

/* The number after a name in the table. */
double number_of(const std::string &table, const std::string &name) {
    const size_t at = table.find("\n" + name + "  ");
    EXPECT_NE(std::string::npos, at) << name << " in " << table;
    return at == std::string::npos ? -1 : std::stod(table.substr(at + 1 + name.size()));
}

TEST_F(AppTestLoad, SendsAsManyRequestsAsAskedAndPrintsPercentiles) {
    const std::string table =
        kAppTest.output_of({"load", "wlan", "40000", "body", "--count", "200", "--clients", "4"});
    EXPECT_EQ(200u, wlan_.messages().size());
    EXPECT_EQ(200, number_of(table, "answered"));
    EXPECT_GT(number_of(table, "answers per second"), 0);
    EXPECT_LE(number_of(table, "fastest"), number_of(table, "p50"));
    EXPECT_LE(number_of(table, "p50"), number_of(table, "p90"));
    EXPECT_LE(number_of(table, "p90"), number_of(table, "p99"));
    EXPECT_LE(number_of(table, "p99"), number_of(table, "p99.9"));
    EXPECT_LE(number_of(table, "p99.9"), number_of(table, "slowest"));
    EXPECT_EQ(std::string::npos, table.find("refused"));
    EXPECT_EQ(std::string::npos, table.find("lost"));
}

TEST_F(AppTestLoad, ShowsFractionsOfASecond) {
    const std::vector<std::string> words = {"load", "wlan", "40000", "--count", "3", "--rate", "100"};
    const std::string table = kAppTest.output_of(words);
    EXPECT_EQ(0u, table.find("RESULT              VALUE\n")) << table;
    EXPECT_GE(number_of(table, "seconds"), 0.02) << table;
    const size_t end = table.find("\nanswers per second");
    ASSERT_NE(std::string::npos, end);
    EXPECT_EQ('.', table[end - 4]) << table;
}

TEST_F(AppTestLoad, KeepsTheRate) {
    const std::string table =
        kAppTest.output_of({"load", "wlan", "40000", "--count", "20", "--rate", "200", "--clients", "2"});
    EXPECT_GE(number_of(table, "seconds"), 0.0);
    EXPECT_LE(number_of(table, "answers per second"), 220);
}

TEST_F(AppTestLoad, EndsWhenTheTimeIsUp) {
    const std::string table = kAppTest.output_of({"load", "wlan", "40000", "--seconds", "0.2"});
    EXPECT_GT(number_of(table, "answered"), 0);
    EXPECT_GE(number_of(table, "seconds"), 0.2);
}

TEST_F(AppTestLoad, PrintsJson) {
    const std::string output = kAppTest.output_of({"load", "wlan", "40000", "--count", "5", "--json"});
    for (const char *name : {"\"answered\": 5,", "\"refused\": {", "\"lost\": {", "\"answers_per_second\": ",
                             "\"microseconds\": {", "\"p50\": ", "\"p99.9\": ", "\"highest\": "}) {
        EXPECT_NE(std::string::npos, output.find(name)) << output;
    }
}

TEST_F(AppTestLoad, CountsTheCodesOfRefusedRequests) {
    const ToolEnd end = kAppTest.run({"load", "wlan", "40001", "--int", "7", "--count", "5"});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ(5, number_of(end.output, "refused 7 E_APPS_ERR_NOTFOUND"));
    EXPECT_EQ("apptest: 5 requests were refused by wlan: 7 E_APPS_ERR_NOTFOUND\n", end.errors);
    const std::string json =
        kAppTest.run({"load", "wlan", "40001", "--int", "7", "--count", "5", "--json"}).output;
    EXPECT_NE(std::string::npos, json.find("\"refused\": {\n    \"E_APPS_ERR_NOTFOUND\": 5\n  }")) << json;
}

TEST_F(AppTestLoad, CountsRequestsThatWereLost) {
    ChildProcess load(
        {tool_path("apptest"), "load", "wlan", "40002", "--int", "1", "--seconds", "60", "--count", "50"},
        {"QUOR_DEBUG=0"});
    EXPECT_TRUE(wlan_.wait_for_messages(10));
    wlan_.process().kill();
    EXPECT_EQ(3, load.exit_status());
    EXPECT_NE(std::string::npos, load.errors().find(" requests to wlan were lost: 1")) << load.errors();
}

TEST_F(AppTestLoad, AModuleThatDoesNotRunIsNotLoaded) {
    forget_module("router");
    kAppTest.expect_failure(3, "load failed: router is not running: 1 E_APPS_ERR_MODULE",
                            {"load", "router", "3004", "--count", "5"});
}

TEST_F(AppTestLoad, CtrlCPrintsTheResultsSoFar) {
    ChildProcess load({tool_path("apptest"), "load", "wlan", "40000", "--seconds", "60"}, {"QUOR_DEBUG=0"});
    EXPECT_TRUE(wlan_.wait_for_messages(10));
    load.send_signal(SIGINT);
    EXPECT_EQ("RESULT              VALUE", load.read_line().value_or("no line"));
    EXPECT_EQ("answered  ", load.read_line().value_or("no line").substr(0, 10));
    EXPECT_EQ(128 + SIGINT, load.exit_status());
}

TEST_F(AppTestLoad, ShowsItsProgressOnATerminalOnly) {
    TerminalOptions narrow;
    narrow.columns = 40;
    const ToolEnd end =
        run_on_terminal({"apptest", "load", "wlan", "40002", "--int", "1", "--seconds", "0.5"}, narrow);
    EXPECT_EQ(0, end.status);
    EXPECT_NE(std::string::npos, end.output.find("\r\033[K[")) << end.output;
    EXPECT_NE(std::string::npos, end.output.find("% ")) << end.output;
    EXPECT_NE(std::string::npos, end.output.find("\r\033[K\033[1mRESULT              VALUE\033[0m\r\n"))
        << end.output;
}

TEST_F(AppTestLoad, AModuleOfNoNameIsWrongUsage) {
    kAppTest.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"load", "wlna", "6"});
}

TEST_F(AppTestLoad, NumbersOutOfRangeAreWrongUsage) {
    kAppTest.expect_usage("--clients: '0' is not a whole number from 1 to 1000",
                          {"load", "wlan", "6", "--clients", "0"});
    kAppTest.expect_usage("--rate: '0' is not a number from 0.01 to 1000000",
                          {"load", "wlan", "6", "--rate", "0"});
}

}  // namespace
