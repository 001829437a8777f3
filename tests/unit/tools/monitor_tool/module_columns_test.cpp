#include "monitor_tool/module_columns.h"

#include <gtest/gtest.h>

#include "unit/tools/monitor_tool/made_report.h"

namespace {

std::string names_by(const std::string &column, std::vector<ModuleReport> reports, bool reverse = false) {
    sort_reports(reports, column, reverse);
    std::string names;
    for (const ModuleReport &report : reports) {
        names += report.facts.name;
    }
    return names;
}

TEST(ModuleColumns, ShowTheProcess) {
    const ModuleReport report = busy("wlan", 12.34, 3u << 20);
    EXPECT_EQ("812", cell_of(report, "pid"));
    EXPECT_EQ("12.3", cell_of(report, "cpu"));
    EXPECT_EQ("3.0M", cell_of(report, "rss"));
    EXPECT_EQ("3", cell_of(report, "threads"));
    EXPECT_EQ("1h02m", cell_of(report, "uptime"));
    EXPECT_EQ("0", cell_of(report, "restarts"));
}

TEST(ModuleColumns, AreEmptyWithoutAProcess) {
    for (const char *column : {"pid", "cpu", "rss", "threads", "uptime", "restarts"}) {
        EXPECT_EQ("", cell_of(stopped("wlan"), column)) << column;
    }
    ModuleReport gone = stopped("wlan");
    gone.restarts = 2;
    EXPECT_EQ("2", cell_of(gone, "restarts")) << "it was seen";
}

TEST(ModuleColumns, OfNumbersHaveTheLargestFirst) {
    ModuleReport a = busy("a", 1, 300);
    ModuleReport b = busy("b", 20, 200);
    ModuleReport c = busy("c", 3, 1000);
    a.process->threads = 20;
    b.uptime = 1e6;
    c.restarts = 1;
    c.facts.process = 7;
    const std::vector<ModuleReport> all = {a, b, c, stopped("d")};
    EXPECT_EQ("bcad", names_by("cpu", all));
    EXPECT_EQ("cabd", names_by("rss", all));
    EXPECT_EQ("abcd", names_by("threads", all));
    EXPECT_EQ("bacd", names_by("uptime", all));
    EXPECT_EQ("cabd", names_by("restarts", all));
    EXPECT_EQ("dcab", names_by("pid", all)) << "ids have the smallest first";
    EXPECT_EQ("dcba", names_by("name", all, true));
}

TEST(ModuleColumns, ThatAreWatchedCanBeSortedBy) {
    for (const std::string &column : watched_column_names()) {
        EXPECT_EQ("a", names_by(column, {running("a", 0, 0)})) << column;
    }
}

}  // namespace
