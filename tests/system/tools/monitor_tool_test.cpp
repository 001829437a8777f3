/*
 * monitor_tool against real modules: every command, and what it says of those that hang or don't run.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("monitor_tool");

const char kEvents[] = "/m_data/usr/subscribe";
const char kEventsEx[] = "/m_webui/subscribe";
const char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream lines(text);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
        all.push_back(line);
    }
    return all;
}

/* The line of a module in the list, its blanks single, and its time, which nobody knows, as T. */
std::string row_of(const std::string &list, const std::string &name) {
    for (const std::string &line : lines_of(list)) {
        std::istringstream words(line);
        std::string all;
        for (std::string word, before; words >> word; before = word) {
            const bool time = word.find('.') != std::string::npos;
            all += (all.empty() ? "" : " ") + (time ? "T" : word);
        }
        if (all.find(" " + name + " ") != std::string::npos) {
            return all;
        }
    }
    return "no row";
}

class MonitorTool : public testing::Test {
  protected:
    MonitorTool() {
        for (const char *folder : {kEvents, kEventsEx}) {
            fs::remove_all(folder);
        }
        fs::remove("/etc/quor_apps_startup");
        fs::remove_all("/m_data/factor/apps_disable");
        fs::remove(kResetFlag);
    }

    void start_monitor() { monitor_ = std::make_unique<ModuleProcess>(E_APPS_MODULE_MONITOR); }

    /* It takes messages and never answers. */
    void hang_wlan() { wlan_.process().send_signal(SIGSTOP); }

    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
    std::unique_ptr<ModuleProcess> monitor_;
};

// ---- list ----

TEST_F(MonitorTool, ListsEveryModuleOfTheTable) {
    ASSERT_TRUE(write_text("/etc/quor_apps_startup", "wlan lcd\n"));
    fs::create_directories("/m_data/factor/apps_disable");
    ASSERT_TRUE(write_text("/m_data/factor/apps_disable/lcd", ""));
    const std::string list = kTool.output_of({"list"});
    EXPECT_EQ(47u, lines_of(list).size());
    EXPECT_EQ("ID NAME ALIAS STATE STATUS MEMORY TIME ENABLED STARTUP FLAGS", row_of(list, "NAME"));
    EXPECT_EQ("5 wlan WLAN running 1 0 T ms yes yes MONITORED RUN ADMIN PSEUDO 0x1000", row_of(list, "wlan"));
    EXPECT_EQ("20 lcd LCD stopped no yes MONITORED RUN POWEROFF PRESTART", row_of(list, "lcd"));
    EXPECT_EQ("38 qmi_shutdown_modem QMI_SHUTDOWN_MODEM stopped yes no 0x4000",
              row_of(list, "qmi_shutdown_modem"));
    EXPECT_EQ("49 apptest APPTEST - yes no", row_of(list, "apptest"));
    EXPECT_EQ("51 monitor_tool MONITOR_TOOL - yes no ADMIN", row_of(list, "monitor_tool"));
}

TEST_F(MonitorTool, AModuleThatHangsDoesNotHangTheList) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    hang_wlan();
    const std::string list = kTool.output_of({"list", "--running", "--timeout", "0.2"});
    EXPECT_EQ(3u, lines_of(list).size());
    EXPECT_EQ("5 wlan WLAN hangs yes no MONITORED ADMIN PSEUDO 0x1000", row_of(list, "wlan"));
    EXPECT_EQ("3 router ROUTER running 1 0 T ms yes no MONITORED 0x1000", row_of(list, "router"));
}

TEST_F(MonitorTool, AProcessThatTakesNoMessagesIsSilent) {
    fs::remove("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ("5 wlan WLAN silent yes no MONITORED ADMIN PSEUDO 0x1000",
              row_of(kTool.output_of({"list"}), "wlan"));
}

TEST_F(MonitorTool, SortsByAColumn) {
    const ModuleProcess lcd(E_APPS_MODULE_LCD);
    wlan_.ask("set-status 7");
    const auto second = [](const std::vector<std::string> &words) {
        std::istringstream line(lines_of(kTool.output_of(words)).at(1));
        std::string id, name;
        line >> id >> name;
        return name;
    };
    EXPECT_EQ("wlan", second({"list", "--running"}));
    EXPECT_EQ("lcd", second({"list", "--running", "--reverse"}));
    EXPECT_EQ("lcd", second({"list", "--running", "--sort", "name"}));
    EXPECT_EQ("wlan", second({"list", "--sort", "status"}));
    hang_wlan();
    EXPECT_EQ("lcd", second({"list", "--running", "--sort", "time", "--timeout", "0.2"}));
    EXPECT_EQ("lcd", second({"list", "--running", "--sort", "memory", "--timeout", "0.2"}));
}

TEST_F(MonitorTool, ListsAsJson) {
    const std::string output = kTool.output_of({"list", "--json", "--running"});
    const std::string begin =
        "[\n  {\n    \"id\": 5,\n    \"name\": \"wlan\",\n    \"alias\": \"WLAN\",\n    \"flags\": [\n"
        "      \"MONITORED\",\n      \"ADMIN\",\n      \"PSEUDO\",\n      \"0x1000\"\n    ],\n"
        "    \"enabled\": true,\n    \"startup\": false,\n    \"state\": \"running\",\n    \"process\": " +
        std::to_string(wlan_.pid()) + ",\n    \"microseconds\": ";
    EXPECT_EQ(begin, output.substr(0, begin.size()));
    EXPECT_NE(std::string::npos, output.find(",\n    \"status\": 1,\n    \"memory\": {\n"
                                             "      \"live_bytes\": 0,\n"))
        << output;
}

TEST_F(MonitorTool, TheListFitsATerminalOf40Columns) {
    TerminalOptions narrow;
    narrow.columns = 40;
    const ToolEnd end = run_on_terminal({"monitor_tool", "list"}, narrow);
    EXPECT_EQ(0, end.status);
    EXPECT_NE(std::string::npos, end.output.find("STATUS  MEMORY  TIME\033[0m\r\n")) << end.output;
    const std::vector<std::string> lines = lines_of(end.output);
    for (size_t i = 1; i < lines.size(); ++i) {
        EXPECT_LE(lines[i].size(), 41u) << lines[i];
    }
}

// ---- status, probe, memory ----

TEST_F(MonitorTool, ShowsEverythingAboutAModule) {
    const std::string output = kTool.output_of({"status", "WLAN"});
    EXPECT_EQ(0u, output.find("wlan\n"
                              "  id              5\n"
                              "  alias           WLAN\n"
                              "  flags           MONITORED ADMIN PSEUDO 0x1000\n"
                              "  enabled         yes\n"
                              "  startup         no\n"
                              "  state           running\n"
                              "  process         " +
                              std::to_string(wlan_.pid()) +
                              "\n"
                              "  status          1\n"
                              "  memory          0 bytes in 0 blocks, at most 0 bytes so far\n"
                              "  time            "))
        << output;
    EXPECT_NE(std::string::npos, output.find("\n  start delay     0 ms\n  log facility    14\n"));
}

TEST_F(MonitorTool, StatusOfAModuleThatDoesNotAnswerIsShownAndSaidSo) {
    const ToolEnd absent = kTool.run({"status", "lcd"});
    EXPECT_EQ(3, absent.status);
    EXPECT_NE(std::string::npos, absent.output.find("\n  state           stopped\n"));
    EXPECT_NE(std::string::npos, absent.output.find("\n  arguments       -platform linuxfb\n"));
    EXPECT_EQ("monitor_tool: status lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE\n", absent.errors);
    hang_wlan();
    const ToolEnd late = kTool.run({"status", "wlan", "--timeout", "0.1", "--json"});
    EXPECT_EQ(3, late.status);
    EXPECT_NE(std::string::npos, late.output.find("\n  \"state\": \"hangs\",\n"));
    EXPECT_EQ("monitor_tool: status wlan failed: wlan did not answer in time: 2 E_APPS_ERR_TIMEOUT\n",
              late.errors);
}

TEST_F(MonitorTool, ProbesModules) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    const std::vector<std::string> lines = lines_of(kTool.output_of({"probe", "wlan", "3"}));
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("router answered in ", lines[0].substr(0, 19));
    EXPECT_EQ("wlan answered in ", lines[1].substr(0, 17));
    EXPECT_EQ(" ms", lines[1].substr(lines[1].size() - 3));
}

TEST_F(MonitorTool, AProbeSaysWhoDidNotAnswer) {
    hang_wlan();
    const ToolEnd end = kTool.run({"probe", "--json", "--timeout", "0.1", "wlan", "lcd"});
    EXPECT_EQ(3, end.status);
    EXPECT_EQ(
        "[\n  {\n    \"name\": \"wlan\",\n    \"result\": 2,\n    \"result_name\": \"E_APPS_ERR_TIMEOUT\"\n  "
        "},\n"
        "  {\n    \"name\": \"lcd\",\n    \"result\": 1,\n    \"result_name\": \"E_APPS_ERR_MODULE\"\n  "
        "}\n]\n",
        end.output);
    EXPECT_EQ(
        "monitor_tool: probe wlan failed: wlan did not answer in time: 2 E_APPS_ERR_TIMEOUT\n"
        "monitor_tool: probe lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE\n",
        end.errors);
}

TEST_F(MonitorTool, ShowsTheMemoryOfModules) {
    EXPECT_EQ(
        "MODULE  LIVE  PEAK  BLOCKS  EVER  REFUSED  WARN AT\n"
        "wlan    0     0     0       0     0        131072\n",
        kTool.output_of({"memory"}));
    EXPECT_EQ(kTool.output_of({"memory"}), kTool.output_of({"memory", "wlan"}));
    EXPECT_EQ(
        "[\n  {\n    \"live_bytes\": 0,\n    \"peak_bytes\": 0,\n    \"live_blocks\": 0,\n"
        "    \"total_blocks\": 0,\n    \"refused\": 0,\n    \"warn_at\": 131072,\n    \"name\": \"wlan\"\n"
        "  }\n]\n",
        kTool.output_of({"memory", "--json"}));
    EXPECT_EQ("monitor_tool: memory lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE\n",
              kTool.run({"memory", "lcd", "wlan"}).errors);
}

// ---- events ----

TEST_F(MonitorTool, ShowsWhoListensToWhat) {
    fs::create_directories(kEvents);
    EXPECT_EQ("ret=0", wlan_.ask("sub weather"));
    ASSERT_TRUE(
        write_text(std::string(kEvents) + "/E_APPS_MSG_SYS_LANGUAGE_CHANGE", "lcd\r\nnobody\nwlan\n"));
    EXPECT_EQ(
        "# /m_data/usr/subscribe\n"
        "  E_APPS_MSG_SYS_LANGUAGE_CHANGE  lcd nobody(?) wlan\n"
        "  weather                         wlan\n",
        kTool.output_of({"events"}));
    EXPECT_EQ("# /m_data/usr/subscribe\n  weather     wlan\n", kTool.output_of({"events", "eath"}));
    EXPECT_EQ(
        "[\n  {\n    \"event\": \"weather\",\n    \"folder\": \"/m_data/usr/subscribe\",\n    \"used\": "
        "true,\n"
        "    \"modules\": [\n      \"wlan\"\n    ],\n    \"unknown\": [\n    ]\n  }\n]\n",
        kTool.output_of({"events", "--json", "weather"}));
}

TEST_F(MonitorTool, ShowsBothFoldersOfEventsAndWhichCounts) {
    fs::create_directories(kEventsEx);
    ASSERT_TRUE(write_text(std::string(kEventsEx) + "/weather", "lcd\n"));
    EXPECT_EQ("# /m_webui/subscribe\n  weather     lcd\n", kTool.output_of({"events"}));
    fs::create_directories(kEvents);
    EXPECT_EQ("# /m_webui/subscribe, not used while the other folder exists\n  weather     lcd\n",
              kTool.output_of({"events"}));
}

TEST_F(MonitorTool, NothingButFilesIsAnEvent) {
    EXPECT_EQ("", kTool.output_of({"events"}));
    fs::create_directories(std::string(kEvents) + "/folder");
    EXPECT_EQ(0, run_shell(std::string("mkfifo ") + kEvents + "/pipe").status);
    EXPECT_EQ("", kTool.output_of({"events"}));
    EXPECT_EQ("[\n]\n", kTool.output_of({"events", "--json"}));
}

// ---- enable, disable, reboot, reset, shutdown ----

TEST_F(MonitorTool, HasModulesSwitched) {
    start_monitor();
    EXPECT_EQ("the monitor was asked to disable wlan\n", kTool.output_of({"disable", "wlan"}));
    EXPECT_TRUE(monitor_->wait_for_message("51 1006 4 05000000"));
    EXPECT_EQ("the monitor was asked to enable lcd\n", kTool.output_of({"enable", "20"}));
    EXPECT_TRUE(monitor_->wait_for_message("51 1005 4 14000000"));
}

TEST_F(MonitorTool, OnlyMonitoredModulesAreSwitched) {
    kTool.expect_failure(1, "disable apptest failed: it is not a monitored module", {"disable", "apptest"});
}

TEST_F(MonitorTool, SaysWhenTheTableDeniesIt) {
    start_monitor();
    ASSERT_TRUE(write_text("/etc/quor_apps_cfg.xml",
                           "<m><monitor_tool><flag>FRWK_FLAG_EXTERNAL</flag></monitor_tool></m>"));
    const ToolEnd end = kTool.run({"disable", "wlan"});
    fs::remove("/etc/quor_apps_cfg.xml");
    EXPECT_EQ(1, end.status);
    EXPECT_EQ(
        "monitor_tool: disable wlan failed: monitor_tool is not allowed to, or the monitor went away; "
        "QUOR_DEBUG=1 shows which\n",
        end.errors);
}

TEST_F(MonitorTool, HasTheDeviceRebootedResetAndShutDown) {
    start_monitor();
    EXPECT_EQ("the monitor was asked to reboot the device\n", kTool.output_of({"reboot", "--reason", "801"}));
    EXPECT_TRUE(monitor_->wait_for_message("51 1001 4 21030000"));
    EXPECT_EQ("the monitor was asked to shut the device down\n", kTool.output_of({"shutdown"}));
    EXPECT_TRUE(monitor_->wait_for_message("51 1003 4 00000000"));
    EXPECT_EQ("the monitor was asked to reset the device to its factory settings\n",
              kTool.output_of({"reset", "--yes"}));
    EXPECT_TRUE(monitor_->wait_for_message("51 1002 4 00000000"));
    EXPECT_TRUE(fs::exists(kResetFlag));
}

TEST_F(MonitorTool, WithoutTheMonitorNothingIsDone) {
    const std::string rest = " failed: monitor is not running: 1 E_APPS_ERR_MODULE";
    kTool.expect_failure(3, "disable wlan" + rest, {"disable", "wlan"});
    kTool.expect_failure(3, "enable wlan" + rest, {"enable", "wlan"});
    kTool.expect_failure(3, "reboot" + rest, {"reboot"});
    kTool.expect_failure(3, "shutdown" + rest, {"shutdown"});
    kTool.expect_failure(3, "reset" + rest, {"reset"});
    EXPECT_FALSE(fs::exists(kResetFlag));
}

TEST_F(MonitorTool, AMonitorThatHangsHangsNobody) {
    start_monitor();
    monitor_->process().send_signal(SIGSTOP);
    kTool.expect_failure(3, "reboot failed: monitor did not answer in time: 2 E_APPS_ERR_TIMEOUT",
                         {"reboot", "--timeout", "0.1"});
}

TEST_F(MonitorTool, AsksAtATerminal) {
    start_monitor();
    TerminalOptions typing;
    typing.type_after = "shut the device down? [y/N] ";
    typing.typed = "n\n";
    const ToolEnd no = run_on_terminal({"monitor_tool", "shutdown"}, typing);
    EXPECT_EQ(1, no.status);
    EXPECT_NE(std::string::npos, no.output.find("nothing was done")) << no.output;
    typing.typed = "\003";
    EXPECT_EQ(128 + SIGINT, run_on_terminal({"monitor_tool", "shutdown"}, typing).status);
    EXPECT_TRUE(monitor_->messages().empty());
    typing.typed = "Yes\n";
    EXPECT_EQ(0, run_on_terminal({"monitor_tool", "shutdown"}, typing).status);
    EXPECT_TRUE(monitor_->wait_for_message("51 1003 4 00000000"));
    const ToolEnd unasked = run_on_terminal({"monitor_tool", "reboot", "--yes"}, {});
    EXPECT_EQ("the monitor was asked to reboot the device\r\n", unasked.output);
}

// ---- top ----

/* What a terminal shows between the change to a screen of its own and the change back. */
std::string screen_of(const std::string &output) {
    const std::string enter = "\033[?1049h\033[?25l";
    const std::string leave = "\033[?25h\033[?1049l";
    EXPECT_EQ(0u, output.find(enter));
    EXPECT_EQ(output.size() - leave.size(), output.rfind(leave));
    return output.substr(enter.size(), output.size() - enter.size() - leave.size());
}

TEST_F(MonitorTool, TopDrawsUntilQAndLeavesTheTerminalAsItWas) {
    TerminalOptions typing;
    typing.type_after = "q quits";
    typing.typed = "srq";
    const ToolEnd end = run_on_terminal({"monitor_tool", "top", "--interval", "60", "--running"}, typing);
    EXPECT_EQ(0, end.status);
    const std::string screen = screen_of(end.output);
    EXPECT_NE(std::string::npos, screen.find("\033[H1 of 1 modules run, by memory\033[K\r\n")) << screen;
    EXPECT_NE(std::string::npos, screen.find("\r\nwlan     running      0 ")) << screen;
    EXPECT_NE(std::string::npos, screen.find("\033[H1 of 1 modules run, by time\033[K\r\n")) << screen;
}

TEST_F(MonitorTool, TopLooksAgainAndEndsWithCtrlC) {
    hang_wlan();
    TerminalOptions typing;
    typing.columns = 40;
    typing.type_after = "\033[H0 of 1 modules run, by time";
    typing.typed = "\003";
    const ToolEnd end = run_on_terminal(
        {"monitor_tool", "top", "--interval", "0.01", "--running", "--sort", "time", "--timeout", "0.05"},
        typing);
    EXPECT_EQ(0, end.status);
    for (std::string line : lines_of(screen_of(end.output))) {
        line.erase(line.find("\033[K"));
        EXPECT_LE(line.size(), 40u + sizeof("\033[H") + sizeof("\033[1m\033[0m")) << line;
    }
}

TEST_F(MonitorTool, TopPrintsOnceWhereThereIsNoTerminal) {
    const std::string output = kTool.output_of({"top", "--running"});
    EXPECT_EQ(2u, lines_of(output).size());
    EXPECT_NE("no row", row_of(output, "wlan"));
    EXPECT_EQ(std::string::npos, output.find('\033'));
}

// ---- the command line ----

TEST_F(MonitorTool, WrongNamesGetTheNearestRightOne) {
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"status", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"probe", "wlan", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"memory", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"disable", "wlna"});
    kTool.expect_usage("unknown command 'lits'; did you mean 'list'?", {"lits"});
    kTool.expect_usage("--sort: unknown column 'memry'; did you mean 'memory'?", {"top", "--sort", "memry"});
    kTool.expect_usage("--timeout: Value 0 not in range 0.010000 to 60.000000", {"list", "--timeout", "0"});
}

TEST_F(MonitorTool, CompletesModulesAndColumns) {
    EXPECT_EQ("wlan\n", kTool.output_of({"--complete", "status", "wl"}));
    EXPECT_EQ("webserver\n", kTool.output_of({"--complete", "probe", "wlan", "we"}));
    EXPECT_EQ("state\nstatus\nstartup\n", kTool.output_of({"--complete", "list", "--sort", "st"}));
}

TEST_F(MonitorTool, OutputThatCannotBeWrittenIsAFailure) {
    const ToolEnd full = run_shell("$TOOLS/monitor_tool list > /dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("monitor_tool: can't write the output: No space left on device\n", full.errors);
}

}  // namespace
