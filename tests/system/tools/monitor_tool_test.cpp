/*
 * monitor_tool with real modules: every command, and its output for modules that hang or don't run.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "support/unprivileged.h"
#include "support/wait_until.h"
#include "system/tools/monitor_fixture.h"
#include "system/tools/tool_checks.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("monitor_tool");

std::string pid_of(const ModuleProcess &module) {
    return std::to_string(module.pid());
}

/* A row without what follows the process id, which varies. */
std::string until_pid(const std::string &row, const ModuleProcess &module) {
    const std::string pid = " " + pid_of(module) + " ";
    const size_t at = row.find(pid);
    return at == std::string::npos ? row : row.substr(0, at + pid.size() - 1);
}

// ---- list ----

TEST_F(MonitorTool, ListsEveryModuleOfTheTable) {
    ASSERT_TRUE(write_text("/etc/quor_apps_startup", "wlan lcd\n"));
    fs::create_directories("/m_data/factor/apps_disable");
    ASSERT_TRUE(write_text("/m_data/factor/apps_disable/lcd", ""));
    const std::string list = kTool.output_of({"list"});
    EXPECT_EQ(47u, lines_of(list).size());
    EXPECT_EQ("ID NAME ALIAS STATE STATUS MEMORY TIME ENABLED STARTUP FLAGS PID CPU% RSS THREADS UPTIME",
              row_of(list, "NAME"));
    EXPECT_EQ("5 wlan WLAN running 1 0 T ms yes yes MONITORED RUN ADMIN PSEUDO 0x1000 " + pid_of(wlan_),
              until_pid(row_of(list, "wlan"), wlan_));
    EXPECT_EQ("20 lcd LCD stopped no yes MONITORED RUN POWEROFF PRESTART", row_of(list, "lcd"));
    EXPECT_EQ("38 qmi_shutdown_modem QMI_SHUTDOWN_MODEM stopped yes no 0x4000",
              row_of(list, "qmi_shutdown_modem"));
    EXPECT_EQ("49 apptest APPTEST - yes no", row_of(list, "apptest"));
    EXPECT_EQ("51 monitor_tool MONITOR_TOOL - yes no ADMIN", row_of(list, "monitor_tool"));
}

TEST_F(MonitorTool, AModuleThatHangsDoesNotHangTheList) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    hang_wlan();
    const std::string list = kTool.output_of({"list", "--running", "--timeout", "2"});
    EXPECT_EQ(3u, lines_of(list).size());
    EXPECT_EQ("5 wlan WLAN no answer yes no MONITORED ADMIN PSEUDO 0x1000 " + pid_of(wlan_),
              until_pid(row_of(list, "wlan"), wlan_));
    EXPECT_EQ("3 router ROUTER running 1 0 T ms yes no MONITORED 0x1000 " + pid_of(router),
              until_pid(row_of(list, "router"), router));
}

TEST_F(MonitorTool, AProcessThatTakesNoMessagesIsSilent) {
    fs::remove("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ("5 wlan WLAN not accepting yes no MONITORED ADMIN PSEUDO 0x1000 " + pid_of(wlan_),
              until_pid(row_of(kTool.output_of({"list"}), "wlan"), wlan_));
    EXPECT_EQ(2u, lines_of(kTool.output_of({"list", "--running"})).size());
}

TEST_F(MonitorTool, AModuleThatMayNotBeAskedIsNotSilent) {
    fs::permissions("/tmp/m_tmp/ipc/wlan", fs::perms::none);
    const ToolEnd end = run_shell(modes_hold() + "$TOOLS/monitor_tool list --running");
    EXPECT_EQ("5 wlan WLAN no access yes no MONITORED ADMIN PSEUDO 0x1000 " + pid_of(wlan_),
              until_pid(row_of(end.output, "wlan"), wlan_));
}

TEST_F(MonitorTool, ALockThatNobodyHoldsIsNoProcess) {
    fs::create_directories("/tmp/m_tmp/lock");
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock/lcd", ""));
    EXPECT_EQ("20 lcd LCD stopped yes no MONITORED POWEROFF PRESTART",
              row_of(kTool.output_of({"list"}), "lcd"));
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
    EXPECT_EQ("lcd", second({"list", "--running", "--sort", "time", "--timeout", "2"}));
    EXPECT_EQ("lcd", second({"list", "--running", "--sort", "memory", "--timeout", "2"}));
}

TEST_F(MonitorTool, ListsTheProcesses) {
    const std::string row = row_of(kTool.output_of({"list"}), "wlan");
    const std::string pid = " " + pid_of(wlan_) + " ";
    std::istringstream words(row.substr(std::min(row.size(), row.find(pid) + pid.size())));
    std::string share, resident, threads, uptime, more;
    words >> share >> resident >> threads >> uptime;
    EXPECT_EQ("T", share) << row; /* of a number with a fraction */
    EXPECT_TRUE(resident == "T" || resident.find_first_of("KMG") == resident.size() - 1) << row;
    EXPECT_GE(std::stoi(threads), 2) << row;
    EXPECT_NE(std::string::npos, uptime.find_last_of("sm")) << row;
    EXPECT_FALSE(words >> more) << row;
}

TEST_F(MonitorTool, ModulesInTroubleAreListedFirst) {
    ASSERT_TRUE(write_text("/etc/quor_apps_startup", "wlan lcd\n"));
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    forget_module("lcd");
    hang_wlan();
    const std::vector<std::string> lines = lines_of(kTool.output_of({"list", "--timeout", "2"}));
    EXPECT_EQ("5 wlan", row_of(lines.at(1), "wlan").substr(0, 6));
    EXPECT_EQ("20 lcd", row_of(lines.at(2), "lcd").substr(0, 6));
    EXPECT_EQ("0 tool", row_of(lines.at(3), "tool").substr(0, 6));
    const std::string sorted = lines_of(kTool.output_of({"list", "--sort", "id", "--timeout", "2"})).at(1);
    EXPECT_EQ("0 tool", row_of(sorted, "tool").substr(0, 6));
}

TEST_F(MonitorTool, SortsByTheProcess) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    for (const char *column : {"pid", "cpu", "rss", "threads", "uptime"}) {
        EXPECT_NE("no row", row_of(kTool.output_of({"list", "--running", "--sort", column}), "router"));
    }
    const std::string older = lines_of(kTool.output_of({"list", "--running", "--sort", "pid"})).at(1);
    EXPECT_EQ(wlan_.pid() < router.pid(), older.find(" wlan ") != std::string::npos) << older;
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
    EXPECT_TRUE(std::regex_search(
        output, std::regex("    \\},\n    \"processor_percent\": [0-9.]+,\n    \"resident_bytes\": [0-9]+,\n"
                           "    \"threads\": [0-9]+,\n    \"uptime_seconds\": [0-9]+\n  \\}\n")))
        << output;
    EXPECT_NE(std::string::npos,
              kTool.output_of({"list", "--json"}).find("\"name\": \"lcd\",\n    \"alias\": \"LCD\",\n"));
}

// ---- status, probe, memory ----

TEST_F(MonitorTool, ShowsEverythingAboutAModule) {
    const std::string output = kTool.output_of({"status", "WLAN"});
    EXPECT_EQ(0u, output.find("wlan\n"
                              "  id                5\n"
                              "  alias             WLAN\n"
                              "  flags             MONITORED ADMIN PSEUDO 0x1000\n"
                              "  enabled           yes\n"
                              "  startup           no\n"
                              "  state             running\n"
                              "  process           " +
                              std::to_string(wlan_.pid()) +
                              "\n"
                              "  status            1\n"
                              "  memory            0 bytes in 0 blocks, peak 0 bytes\n"
                              "  time              "))
        << output;
    EXPECT_NE(std::string::npos, output.find("\n  start delay       0 ms\n  log facility      14\n"));
}

TEST_F(MonitorTool, StatusOfAModuleThatDoesNotAnswerIsShownAndSaidSo) {
    forget_module("lcd");
    const ToolEnd absent = kTool.run({"status", "lcd"});
    EXPECT_EQ(3, absent.status);
    EXPECT_NE(std::string::npos, absent.output.find("\n  state             stopped\n"));
    EXPECT_NE(std::string::npos, absent.output.find("\n  arguments         -platform linuxfb\n"));
    EXPECT_EQ("monitor_tool: status lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE\n", absent.errors);
    hang_wlan();
    const ToolEnd late = kTool.run({"status", "wlan", "--timeout", "0.1", "--json"});
    EXPECT_EQ(3, late.status);
    EXPECT_NE(std::string::npos, late.output.find("\n  \"state\": \"no answer\",\n"));
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

TEST_F(MonitorTool, AProbePrintsOnlyWhoAnswered) {
    forget_module("lcd");
    const ToolEnd end = kTool.run({"probe", "wlan", "lcd"});
    EXPECT_EQ(3, end.status);
    EXPECT_EQ(1u, lines_of(end.output).size());
    EXPECT_EQ("monitor_tool: probe lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE\n", end.errors);
}

TEST_F(MonitorTool, AProbeSaysWhoDidNotAnswer) {
    forget_module("lcd");
    hang_wlan();
    const ToolEnd end = kTool.run({"probe", "--json", "--timeout", "2", "wlan", "lcd"});
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
    forget_module("lcd");
    EXPECT_EQ(
        "MODULE  LIVE  PEAK  BLOCKS  TOTAL  REFUSED  WARN AT\n"
        "wlan    0     0     0       0      0        131072\n",
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

TEST_F(MonitorTool, MemoryNamesTheModulesThatMayNotBeAsked) {
    fs::permissions("/tmp/m_tmp/ipc/wlan", fs::perms::none);
    const ToolEnd end = run_shell(modes_hold() + "$TOOLS/monitor_tool memory");
    EXPECT_EQ(3, end.status);
    EXPECT_EQ(0u, end.errors.find("monitor_tool: memory wlan failed: wlan can't be reached: no access to "
                                  "/tmp/m_tmp/ipc/wlan (owner "))
        << end.errors;
    fs::permissions("/tmp/m_tmp/ipc", fs::perms::none);
    const ToolEnd closed = run_shell(modes_hold() + "$TOOLS/monitor_tool memory");
    fs::permissions("/tmp/m_tmp/ipc", fs::perms::all);
    EXPECT_EQ(3, closed.status);
    EXPECT_EQ(1u, lines_of(closed.errors).size());
    EXPECT_NE(std::string::npos, closed.errors.find("no access to /tmp/m_tmp/ipc (owner ")) << closed.errors;
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
    EXPECT_EQ("# /m_data/usr/subscribe\n  weather     wlan\n", kTool.output_of({"events", "EATH"}));
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

TEST_F(MonitorTool, AnEventThatNobodyListensToIsOneToo) {
    fs::create_directories(kEvents);
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "\n"));
    EXPECT_EQ("# /m_data/usr/subscribe\n  weather     -\n", kTool.output_of({"events"}));
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "nobody\n"));
    EXPECT_NE(std::string::npos,
              kTool.output_of({"events", "--json"})
                  .find("    \"modules\": [\n    ],\n    \"unknown\": [\n      \"nobody\"\n    ]\n"));
}

TEST_F(MonitorTool, AnEventThatCannotBeReadIsSaidSo) {
    fs::create_directories(kEvents);
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "wlan\n"));
    ASSERT_TRUE(write_text(std::string(kEvents) + "/wide", ""));
    fs::resize_file(std::string(kEvents) + "/wide", (64u << 20) + 1);
    const ToolEnd end = kTool.run({"events", "weather"});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("# /m_data/usr/subscribe\n  weather     wlan\n", end.output);
    EXPECT_EQ("monitor_tool: can't read /m_data/usr/subscribe/wide: File too large\n", end.errors);
}

TEST_F(MonitorTool, AFolderOfEventsThatCannotBeReadIsSaidSo) {
    fs::create_directories(kEvents);
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "wlan\n"));
    fs::permissions(kEvents, fs::perms::none);
    const ToolEnd end = run_shell(modes_hold() + "$TOOLS/monitor_tool events");
    fs::permissions(kEvents, fs::perms::all);
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("", end.output);
    EXPECT_EQ(0u, end.errors.find("monitor_tool: can't read /m_data/usr/subscribe: no access to "
                                  "/m_data/usr/subscribe (owner "))
        << end.errors;
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
    forget_module("monitor");
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
    monitor_->process().stop();
    kTool.expect_failure(3, "reboot failed: monitor did not answer in time: 2 E_APPS_ERR_TIMEOUT",
                         {"reboot", "--timeout", "0.1"});
}

// ---- the command line ----

TEST_F(MonitorTool, WrongNamesGetTheNearestRightOne) {
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"status", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"probe", "wlan", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"memory", "wlna"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"disable", "wlna"});
    kTool.expect_usage("unknown command 'lits'; did you mean 'list'?", {"lits"});
    kTool.expect_usage("--sort: unknown column 'memry'; did you mean 'memory'?", {"top", "--sort", "memry"});
    kTool.expect_usage("--timeout: '0' is not a number from 0.01 to 60", {"list", "--timeout", "0"});
}

TEST_F(MonitorTool, CompletesModulesAndColumns) {
    EXPECT_EQ("wlan\n", kTool.output_of({"--complete", "status", "wl"}));
    EXPECT_EQ("webserver\n", kTool.output_of({"--complete", "probe", "wlan", "we"}));
    EXPECT_EQ("state\nstatus\nstartup\n", kTool.output_of({"--complete", "list", "--sort", "st"}));
    EXPECT_EQ("rss\n", kTool.output_of({"--complete", "list", "--sort", "r"}));
    EXPECT_EQ("rss\nrestarts\n", kTool.output_of({"--complete", "top", "--sort", "r"}));
}

TEST_F(MonitorTool, SaysWhatItDoesWhenTheDebugChannelIsOn) {
    EXPECT_NE("", run_shell("QUOR_DEBUG=1 $TOOLS/monitor_tool list").errors);
    EXPECT_EQ("", run_shell("QUOR_DEBUG=0 $TOOLS/monitor_tool list").errors);
}

TEST_F(MonitorTool, OutputThatCannotBeWrittenIsAFailure) {
    const ToolEnd full = run_shell("$TOOLS/monitor_tool list > /dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("monitor_tool: can't write the output: No space left on device\n", full.errors);
}

}  // namespace
