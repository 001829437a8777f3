#include "monitor_tool/module_screen.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

ModuleReport running(const std::string &name, uint32_t bytes, int64_t microseconds) {
    ModuleReport report = {{1, name, "", FRWK_FLAG_DAEMON, true, 1}, {}};
    report.result.probe.sent = E_APPS_ERR_SUCCESS;
    report.result.microseconds = microseconds;
    report.result.memory = os_mem_usage_t{bytes, bytes, 1, 1, 0, 0};
    return report;
}

ModuleReport stopped(const std::string &name) {
    return {{1, name, "", FRWK_FLAG_DAEMON, true, 0}, {}};
}

TEST(ModuleScreen, DrawsBarsAsLongAsTheShareOfTheLargest) {
    EXPECT_EQ(std::vector<std::string>({
                  "2 of 3 modules running, sorted by memory",
                  "NAME     STATE   MEMORY                MS",
                  "router   running   2.0K ##########   0.50 #####",
                  "wlan     running   1.0K #####        1.00 ##########",
                  "lcd      stopped",
                  "q quits, s sorts, r reverses",
              }),
              screen_lines({running("router", 2048, 500), running("wlan", 1024, 1000), stopped("lcd")},
                           "memory", {52, 24}));
}

TEST(ModuleScreen, FitsTheTerminal) {
    const std::vector<ModuleReport> reports(60, running("qmi_shutdown_modem", 2048, 500));
    for (const size_t columns : {20u, 40u, 80u, 200u}) {
        const std::vector<std::string> lines = screen_lines(reports, "memory", {columns, 10});
        EXPECT_EQ(10u, lines.size());
        for (const std::string &line : lines) {
            EXPECT_LE(line.size(), columns) << line;
        }
    }
}

TEST(ModuleScreen, KeepsBarsAt40Columns) {
    EXPECT_EQ("qmi_shutdo running   2.0K ###   0.50 ###",
              screen_lines({running("qmi_shutdown_modem", 2048, 500)}, "memory", {40, 10})[2]);
}

TEST(ModuleScreen, LeavesOutWholePartsOnANarrowScreen) {
    const std::vector<ModuleReport> reports = {running("qmi_shutdown_modem", 2048, 500)};
    EXPECT_EQ("qmi_shut running   2.0K   0.50", screen_lines(reports, "memory", {34, 10})[2]);
    EXPECT_EQ("NAME     STATE   MEMORY     MS", screen_lines(reports, "memory", {34, 10})[1]);
    EXPECT_EQ("qmi_shut running   2.0K", screen_lines(reports, "memory", {25, 10})[2]);
    EXPECT_EQ("qmi_shut running", screen_lines(reports, "memory", {20, 10})[2]);
    EXPECT_EQ("q quits", screen_lines(reports, "memory", {20, 10})[3]);
    EXPECT_EQ("", screen_lines(reports, "memory", {6, 10})[3]);
    EXPECT_EQ("q quits, s sorts by the next column, r reverses the order",
              screen_lines(reports, "memory", {57, 10})[3]);
}

TEST(ModuleScreen, EmptyWithoutModules) {
    EXPECT_EQ("0 of 0 modules running, sorted by id", screen_lines({}, "id", {80, 24})[0]);
}

}  // namespace
