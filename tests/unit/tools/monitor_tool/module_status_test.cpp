#include "monitor_tool/module_status.h"

#include <gtest/gtest.h>

#include "unit/tools/monitor_tool/made_report.h"

namespace {

ModuleLog log_with(const std::set<std::string> &processes) {
    ModuleLog log;
    log.processes = processes;
    log.lines.push_back(parse_log_line("Nov 21 04:40:00 box user.err wlan[7]: b.cpp f:1 text"));
    return log;
}

LogTail tail_with(const ModuleLog &log) {
    LogTail tail;
    tail.place = "/var/log/messages";
    tail.modules["wlan"] = log;
    return tail;
}

std::string printed(const ModuleReport &report, const LogTail *tail) {
    testing::internal::CaptureStdout();
    print_status(report, tail);
    return testing::internal::GetCapturedStdout();
}

void expect_part(const std::string &part, const std::string &text) {
    EXPECT_NE(std::string::npos, text.find(part)) << text;
}

TEST(ModuleStatus, CountsTheProcessesOfTheLog) {
    const ModuleReport report = busy("wlan", 1, 0); /* process 812 */
    EXPECT_FALSE(restarts_in_log(report, {}));
    EXPECT_EQ(0u, *restarts_in_log(report, log_with({"812"})));
    EXPECT_EQ(1u, *restarts_in_log(report, log_with({"7"}))) << "the present one has written nothing";
    EXPECT_EQ(2u, *restarts_in_log(report, log_with({"7", "9", "812"})));
    EXPECT_EQ(1u, *restarts_in_log(stopped("wlan"), log_with({"7", "9"})));
}

TEST(ModuleStatus, PrintsProcessAndLog) {
    const LogTail tail = tail_with(log_with({"7", "812"}));
    const std::string text = printed(busy("wlan", 12.5, 3u << 20), &tail);
    expect_part(
        "  processor         12.5 % of a processor, since its start\n"
        "  resident memory   3.0M\n"
        "  threads           3\n"
        "  uptime            1h02m, since 20",
        text);
    expect_part(
        "  restarts          1 or more, by the process ids in the log\n"
        "  log               the last lines in /var/log/messages\n"
        "    Nov 21 04:40:00 error b.cpp f:1 text\n",
        text);
    const LogTail same = tail_with(log_with({"812"}));
    expect_part("  restarts          none in the log\n", printed(busy("wlan", 1, 1), &same));
}

TEST(ModuleStatus, PrintsDashesForWhatThereIsNot) {
    const std::string text = printed(stopped("wlan"), nullptr);
    expect_part(
        "  processor         -\n"
        "  resident memory   -\n"
        "  threads           -\n"
        "  uptime            -\n",
        text);
    EXPECT_EQ(std::string::npos, text.find("  log  ")) << text;
}

TEST(ModuleStatus, SaysWhyThereIsNoLog) {
    LogTail tail = tail_with({});
    expect_part("  log               no lines in /var/log/messages\n", printed(stopped("wlan"), &tail));
    tail.problem = "can't read /var/log/messages: no access";
    expect_part("  log               can't read /var/log/messages: no access\n",
                printed(stopped("wlan"), &tail));
    expect_part("  log               can't read", printed(stopped("lcd"), &tail));
}

TEST(ModuleStatus, JsonHasTheLog) {
    const LogTail tail = tail_with(log_with({"7", "812"}));
    const Json object = status_as_json(busy("wlan", 1, 1), &tail);
    expect_part(R"("restarts_in_log":1,"log":[{"time":"Nov 21 04:40:00","module":"wlan","process":"7",)"
                R"("level":"error","text":"b.cpp f:1 text"}])",
                json_object_to_json_string_ext(object.get(), JSON_C_TO_STRING_PLAIN));
    const Json none = status_as_json(busy("wlan", 1, 1), nullptr);
    EXPECT_FALSE(json_object_object_get_ex(none.get(), "log", nullptr));
}

}  // namespace
