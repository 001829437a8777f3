#include "monitor_tool/module_screen.h"

#include <gtest/gtest.h>

#include "unit/tools/monitor_tool/made_report.h"

namespace {

using Texts = std::vector<std::string>;

TopView sorted_by(const std::string &column) {
    TopView view;
    view.sort = column;
    return view;
}

Texts texts_of(const std::vector<ScreenLine> &lines) {
    Texts texts;
    for (const ScreenLine &line : lines) {
        texts.push_back(line.text);
    }
    return texts;
}

Texts screen(const std::vector<ModuleReport> &reports, const ScreenSize &size) {
    return texts_of(screen_lines(reports, sorted_by("cpu"), size));
}

TEST(ModuleScreen, ShowsTheProcesses) {
    EXPECT_EQ(
        Texts({
            "2 of 3 modules running, sorted by cpu",
            "NAME     STATE       PID  CPU%              RSS            MEMORY THR UPTIME RESTARTS     MS",
            "wlan     running     812  25.0 ##          2.0M ##########      0   3  1h02m        0   0.50",
            "router   running     812   5.0             1.0M #####           0   3  1h02m        0   0.50",
            "lcd      stopped",
            "q quits, h helps, s sorts by the next column, r reverses, / filters, arrows scroll",
        }),
        screen({busy("router", 5, 1u << 20), busy("wlan", 25, 2u << 20), stopped("lcd")}, {93, 24}));
}

TEST(ModuleScreen, TroubleComesFirstAndIsColoured) {
    ModuleReport forbidden = stopped("sms");
    forbidden.result.forbidden = true;
    const auto lines = screen_lines({busy("wlan", 25, 1), dead("lcd"), forbidden, hanging("router")},
                                    sorted_by("name"), {80, 24});
    EXPECT_EQ("1 of 4 modules running, 2 in trouble, sorted by name", lines[0].text);
    EXPECT_EQ(Style::kPlain, lines[0].style);
    EXPECT_EQ(Style::kStrong, lines[1].style);
    EXPECT_EQ(0u, lines[2].text.find("router   no answer"));
    EXPECT_EQ(Style::kAlert, lines[2].style);
    EXPECT_EQ(0u, lines[3].text.find("lcd      stopped"));
    EXPECT_EQ(Style::kAlert, lines[3].style);
    EXPECT_EQ(0u, lines[4].text.find("sms      no access"));
    EXPECT_EQ(Style::kWarning, lines[4].style);
    EXPECT_EQ(Style::kPlain, lines[5].style);
    EXPECT_EQ(Style::kFaint, lines[6].style);
}

TEST(ModuleScreen, FitsTheTerminal) {
    const std::vector<ModuleReport> reports(60, busy("qmi_shutdown_modem", 1600, 2u << 30));
    for (const size_t columns : {20u, 40u, 80u, 200u}) {
        for (const bool help : {false, true}) {
            TopView view = sorted_by("restarts");
            view.help = help;
            view.filter = "qmi_shutdown_modem and more";
            for (const ScreenLine &line : screen_lines(reports, view, {columns, 10})) {
                EXPECT_LE(line.text.size(), columns) << line.text;
            }
            view.filter.clear();
            EXPECT_EQ(help ? 13u : 10u,
                      std::min<size_t>(screen_lines(reports, view, {columns, 10}).size(), 13));
        }
    }
}

TEST(ModuleScreen, ColumnsLeaveByTheirImportance) {
    const std::vector<ModuleReport> reports = {busy("wlan", 5, 2048)};
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS MEMORY THR UPTIME RESTARTS     MS",
              screen(reports, {72, 10})[1]);
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS MEMORY UPTIME RESTARTS     MS",
              screen(reports, {68, 10})[1]);
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS UPTIME RESTARTS     MS", screen(reports, {60, 10})[1]);
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS UPTIME RESTARTS", screen(reports, {53, 10})[1]);
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS UPTIME", screen(reports, {44, 10})[1]);
    EXPECT_EQ("NAME     STATE       PID  CPU%   RSS", screen(reports, {40, 10})[1]);
    EXPECT_EQ("wlan     running     812   5.0  2.0K", screen(reports, {40, 10})[2]);
    EXPECT_EQ("NAME     STATE    CPU%   RSS", screen(reports, {30, 10})[1]);
    EXPECT_EQ("NAME     STATE    CPU%", screen(reports, {22, 10})[1]);
    EXPECT_EQ("NAME     STATE", screen(reports, {20, 10})[1]);
}

TEST(ModuleScreen, KeysLeaveToo) {
    EXPECT_EQ("q quits, h helps, s sorts, r reverses, / filters, arrows scroll", screen({}, {80, 10})[2]);
    EXPECT_EQ("q quits, h helps, s sorts, / filters", screen({}, {40, 10})[2]);
    EXPECT_EQ("q quits, h helps", screen({}, {20, 10})[2]);
    EXPECT_EQ("q quits", screen({}, {10, 10})[2]);
    EXPECT_EQ("", screen({}, {6, 10})[2]);
}

TEST(ModuleScreen, Scrolls) {
    std::vector<ModuleReport> reports;
    for (const char *name : {"a", "b", "c", "d", "e"}) {
        reports.push_back(stopped(name));
    }
    TopView view = sorted_by("name");
    view.first = 1;
    EXPECT_EQ(Texts({"0 of 5 modules running, sorted by name, 2-3 of 5",
                     "NAME     STATE       PID  CPU%   RSS UPTIME", "b        stopped", "c        stopped",
                     "q quits, h helps, s sorts, / filters"}),
              texts_of(screen_lines(reports, view, {50, 5})));
    view.first = 100;
    EXPECT_EQ("0 of 5 modules running, sorted by name, 4-5 of 5",
              screen_lines(reports, view, {50, 5})[0].text);
    EXPECT_EQ(2u, page_of({50, 5}));
    EXPECT_EQ(0u, page_of({50, 2}));
}

TEST(ModuleScreen, TheSummaryLeavesOutWhatDoesNotFit) {
    const std::vector<ModuleReport> reports = {dead("lcd"), stopped("wlan"), stopped("wlans"),
                                               stopped("wlanx")};
    TopView view = sorted_by("name");
    view.filter = "wl";
    const auto summary = [&](size_t columns) { return screen_lines(reports, view, {columns, 5})[0].text; };
    EXPECT_EQ("0 of 4 modules running, 1 in trouble, sorted by name, with 'wl', 1-2 of 3", summary(73));
    EXPECT_EQ("0 of 4 modules running, 1 in trouble, with 'wl', 1-2 of 3", summary(72));
    EXPECT_EQ("0 of 4 modules running, 1 in trouble, with 'wl'", summary(56));
    EXPECT_EQ("0 of 4 modules running, 1 in trouble", summary(40));
    EXPECT_EQ("0 of 4 modules running", summary(30));
    EXPECT_EQ("0 of 4 modules runni", summary(20));
}

TEST(ModuleScreen, ShowsTheFilterWhileItIsTyped) {
    TopView view = sorted_by("name");
    view.reverse = true;
    view.filter = "wl";
    const std::vector<ModuleReport> reports = {stopped("wlan"), stopped("lcd")};
    EXPECT_EQ("0 of 2 modules running, sorted by name reversed, with 'wl'",
              screen_lines(reports, view, {80, 24})[0].text);
    view.typing = true;
    const auto lines = screen_lines(reports, view, {80, 24});
    EXPECT_EQ("filter: wl_", lines.back().text);
    EXPECT_EQ(4u, lines.size());
    EXPECT_EQ("wl_", screen_lines(reports, view, {3, 24}).back().text);
}

TEST(ModuleScreen, ExplainsEveryKey) {
    TopView view = sorted_by("name");
    view.help = true;
    const Texts lines = texts_of(screen_lines({}, view, {80, 24}));
    EXPECT_EQ("Keys of monitor_tool top", lines[0]);
    EXPECT_EQ("  q, Ctrl-C      quit", lines[1]);
    EXPECT_EQ(1 + top_keys().size(), lines.size());
    EXPECT_LE(screen_lines({}, view, {40, 24}).size(), 24u);
}

TEST(ModuleScreen, EmptyWithoutModules) {
    EXPECT_EQ("0 of 0 modules running, sorted by cpu", screen({}, {80, 24})[0]);
}

}  // namespace
