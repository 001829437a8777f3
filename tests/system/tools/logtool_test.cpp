/*
 * logtool: logs in files and in the journal, and what it switches.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "frwk_module.h"
#include "support/module_process.h"
#include "support/other_user.h"
#include "support/wait_until.h"
#include "system/tools/log_fixture.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("logtool");

// ---- show ----

TEST_F(LogShow, ShowsAFile) {
    EXPECT_EQ(
        "Nov 21 04:40:00 warning wlan[7]: a.cpp f:1 ipc accept error! errno=24\n"
        "Nov 21 04:40:01 debug wlan[7]: a.cpp f:2 polling\n"
        "Nov 21 04:40:02 error router[8]: b.cpp g:3 no route\n"
        "Nov 21 04:40:03 kernel: link is up\n"
        "no form at all\n",
        kTool.output_of({"show", "--file", kLog}));
}

TEST_F(LogShow, FiltersByModuleTextAndNumber) {
    EXPECT_EQ("Nov 21 04:40:02 error router[8]: b.cpp g:3 no route\n",
              kTool.output_of({"show", "--file", kLog, "--module", "ROUTER"}));
    EXPECT_EQ("Nov 21 04:40:01 debug wlan[7]: a.cpp f:2 polling\n",
              kTool.output_of({"show", "--file", kLog, "--module", "wlan", "--text", "POLL"}));
    EXPECT_EQ(
        "Nov 21 04:40:01 debug wlan[7]: a.cpp f:2 polling\n"
        "Nov 21 04:40:02 error router[8]: b.cpp g:3 no route\n",
        kTool.output_of({"show", "--file", kLog, "--module", "wlan", "--module", "3", "--lines", "2"}));
}

TEST_F(LogShow, FiltersByLevelAndCountsLinesWithoutOne) {
    const ToolEnd end = kTool.run({"show", "--file", kLog, "--level", "warn"});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(
        "Nov 21 04:40:00 warning wlan[7]: a.cpp f:1 ipc accept error! errno=24\n"
        "Nov 21 04:40:02 error router[8]: b.cpp g:3 no route\n",
        end.output);
    EXPECT_EQ("logtool: 2 lines without a level were left out\n", end.errors);
}

TEST_F(LogShow, PrintsAnObjectALineAsJson) {
    EXPECT_EQ(
        "{\"time\":\"Nov 21 04:40:02\",\"module\":\"router\",\"process\":\"8\",\"level\":\"error\","
        "\"text\":\"b.cpp g:3 no route\"}\n",
        kTool.output_of({"show", "--file", kLog, "--json", "--level", "3", "--module", "router"}));
    EXPECT_EQ("{\"text\":\"no form at all\"}\n",
              kTool.output_of({"show", "--file", kLog, "--json", "--lines", "1"}));
}

TEST_F(LogShow, ReadsWhatAModuleWrote) {
    ModuleProcess lcd(E_APPS_MODULE_LCD);
    EXPECT_EQ("ret=1", lcd.ask("sync 4 40000 3 0 -"));
    const std::string output = kTool.output_of(
        {"show", "--file", "-", "--level", "warning", "--module", "lcd"}, lcd.process().errors());
    EXPECT_NE(std::string::npos, output.find(" warning lcd: ")) << output;
    EXPECT_NE(std::string::npos, output.find("ipc connect to module [mnet] failed!\n")) << output;
    EXPECT_EQ(std::string::npos, output.find(" verbose ")) << output;
}

TEST_F(LogShow, ColoursAndSpeltOutControlsAreForTerminalsOnly) {
    ASSERT_TRUE(write_text(kLog, "Nov 21 04:40:00 box local7.warn wlan[7]: \033[2Jgone\n"));
    EXPECT_EQ("Nov 21 04:40:00 warning wlan[7]: \033[2Jgone\n", kTool.output_of({"show", "--file", kLog}));
    EXPECT_EQ(
        "\033[2mNov 21 04:40:00\033[0m \033[33mwarning\033[0m \033[1mwlan[7]:\033[0m "
        "\033[33m\\x1b[2Jgone\033[0m\r\n",
        run_on_terminal({"logtool", "show", "--file", kLog}, {}).output);
}

TEST_F(LogShow, AnInformationHasNoColourOnATerminal) {
    ASSERT_TRUE(write_text(kLog, "Nov 21 04:40:00 box local7.info wlan[7]: up\n"));
    EXPECT_EQ("\033[2mNov 21 04:40:00\033[0m info \033[1mwlan[7]:\033[0m up\r\n",
              run_on_terminal({"logtool", "show", "--file", kLog}, {}).output);
}

TEST_F(LogShow, FindsTheSystemsLogFile) {
    EXPECT_EQ("from messages\n",
              with_own_logs("echo from messages > /var/log/messages && echo from syslog > /var/log/syslog && "
                            "$TOOLS/logtool show")
                  .output);
    EXPECT_EQ("from syslog\n",
              with_own_logs("echo from syslog > /var/log/syslog && $TOOLS/logtool show").output);
    const ToolEnd folder = with_own_logs("mkdir /var/log/messages && $TOOLS/logtool show");
    EXPECT_EQ(1, folder.status);
    EXPECT_EQ("logtool: can't read /var/log/messages: Is a directory\n", folder.errors);
}

TEST_F(LogShow, TakesTheJournalWhereThereIsNoLogFile) {
    fake_journalctl(
        "echo '{\"SYSLOG_IDENTIFIER\":\"wlan\",\"PRIORITY\":\"4\",\"MESSAGE\":\"from the journal\"}'");
    EXPECT_EQ("warning wlan: from the journal\n", with_own_logs(with_fakes() + "$TOOLS/logtool show").output);
}

TEST_F(LogShow, AsksTheJournalForTheModulesOnly) {
    fake_journalctl("echo \"$*\" > /tmp/journal.words");
    EXPECT_EQ(0, run_shell(with_fakes() + "$TOOLS/logtool show --journal --module wlan --module 20").status);
    EXPECT_EQ("--no-pager --quiet --output=json SYSLOG_IDENTIFIER=wlan SYSLOG_IDENTIFIER=lcd\n",
              file_text("/tmp/journal.words"));
}

TEST_F(LogShow, AJournalThatCannotBeHadIsSaidSo) {
    fake_journalctl("echo 'no journal' >&2; exit 1");
    const ToolEnd failed = run_shell(with_fakes() + "$TOOLS/logtool show --journal");
    EXPECT_EQ(1, failed.status);
    EXPECT_EQ("no journal\nlogtool: journalctl failed\n", failed.errors);
    const ToolEnd missing = run_shell("PATH= $TOOLS/logtool show --journal");
    EXPECT_EQ(1, missing.status);
    EXPECT_EQ("logtool: can't run journalctl: No such file or directory\n", missing.errors);
    EXPECT_EQ(
        "logtool: can't run journalctl: No such file or directory; /var/log/messages is missing; "
        "/var/log/syslog is missing; there is no logread\n",
        with_own_logs("PATH= $TOOLS/logtool show").errors);
}

// ---- show --follow ----

TEST_F(LogShow, FollowsAFileUntilCtrlC) {
    const auto following = follow({"--file", kLog, "--module", "wlan", "--lines", "1"});
    EXPECT_EQ("Nov 21 04:40:01 debug wlan[7]: a.cpp f:2 polling", line_from(following));
    append(kLog, "\nNov 21 04:40:04 lcd[9]: other\nNov 21 04:40:05 wlan[7]: half ");
    append(kLog, "a line\n");
    EXPECT_EQ("Nov 21 04:40:05 wlan[7]: half a line", line_from(following));
    following->send_signal(SIGINT);
    EXPECT_EQ(0, following->exit_status());
    EXPECT_EQ("", following->errors());
}

TEST_F(LogShow, FollowsALogThatIsRotatedOrEmptied) {
    const auto following = follow({"--file", kLog, "--text", "mark"});
    append(kLog, "\nmark 1\n");
    EXPECT_EQ("mark 1", line_from(following));
    fs::rename(kLog, kLog + ".0");
    append(kLog + ".0", "mark 2\n");
    append(kLog, "mark 3\n");
    EXPECT_EQ("mark 2", line_from(following));
    EXPECT_EQ("mark 3", line_from(following));
    ASSERT_TRUE(write_text(kLog, "mark\n"));
    EXPECT_EQ("mark", line_from(following));
}

TEST_F(LogShow, FollowsTheJournalBehindItsLastLine) {
    fake_journalctl(
        "for word; do case $word in --follow) follow=1;; --after-cursor=*) after=${word#*=};; esac; done\n"
        "[ -z \"$follow\" ] && echo '{\"MESSAGE\":\"before\",\"__CURSOR\":\"c1\"}' && exit\n"
        "echo '{\"MESSAGE\":\"after '$after'\"}'; echo $$ > /tmp/journalctl.pid; exec sleep 60\n");
    const auto following = follow({"--journal"});
    EXPECT_EQ("before", line_from(following));
    EXPECT_EQ("after c1", line_from(following));
    ASSERT_TRUE(wait_until([] { return !file_text("/tmp/journalctl.pid").empty(); }));
    following->send_signal(SIGINT);
    EXPECT_EQ(0, following->exit_status());
    EXPECT_FALSE(fs::exists("/proc/" + std::to_string(std::stoi(file_text("/tmp/journalctl.pid")))));
}

TEST_F(LogShow, AReaderThatLeavesEndsIt) {
    const ToolEnd end = run_shell(
        "mkfifo /tmp/closed.$$; exec 3<>/tmp/closed.$$ 4>/tmp/closed.$$ 3<&-; $TOOLS/logtool show --follow "
        "--file " +
        kLog + " >&4");
    EXPECT_EQ(0, end.status);
    EXPECT_EQ("", end.errors);
    const ToolEnd full = run_shell("$TOOLS/logtool show --file " + kLog + " > /dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("logtool: can't write the output: No space left on device\n", full.errors);
}

TEST_F(LogShow, AnEmptyLogNamesThePlaces) {
    ASSERT_TRUE(write_text(kLog, ""));
    kTool.expect_failure(0, "there are no lines: " + kLog + " is empty", {"show", "--file", kLog});
    kTool.expect_failure(0, "there are no lines: standard input is empty", {"show", "--file", "-"});
    fake_journalctl("true");
    const ToolEnd nowhere = with_own_logs(with_fakes() + "$TOOLS/logtool show");
    EXPECT_EQ(0, nowhere.status);
    EXPECT_EQ(
        "logtool: there are no lines: /var/log/messages is missing; /var/log/syslog is missing; the journal "
        "has no lines\n",
        nowhere.errors);
    EXPECT_EQ("logtool: there are no lines: /var/log/messages is missing; /var/log/syslog is empty\n",
              with_own_logs("touch /var/log/syslog && $TOOLS/logtool show").errors);
    EXPECT_EQ("logtool: there are no lines: the journal has no lines of these modules\n",
              with_own_logs(with_fakes() + "$TOOLS/logtool show --journal --module wlan").errors);
}

TEST_F(LogShow, AJournalWithoutLinesMayBeOneThatTheUserMayNotRead) {
    fake_journalctl("true");
    fs::permissions(kFakes, fs::perms::all);
    fs::permissions(kFakes + "/journalctl", fs::perms::all);
    if (geteuid() == 0) {
        EXPECT_EQ(
            "logtool: there are no lines: the journal has no lines, or none that this user may read; try "
            "'sudo "
            "logtool show'\n",
            run_shell("PATH=" + kFakes +
                      ":$PATH setpriv --reuid=60001 --clear-groups -- $TOOLS/logtool show " + "--journal")
                .errors);
    }
}

TEST_F(LogShow, AFilterThatSelectsNothingIsSaidSo) {
    kTool.expect_failure(0, "none of the 5 lines of " + kLog + " is selected by the options",
                         {"show", "--file", kLog, "--text", "no such text"});
    const ToolEnd level = kTool.run({"show", "--file", kLog, "--level", "alert"});
    EXPECT_EQ("logtool: 2 lines without a level were left out\nlogtool: none of the 5 lines of " + kLog +
                  " is selected by the options\n",
              level.errors);
}

TEST_F(LogShow, WrongUsageIsExplained) {
    kTool.expect_failure(2, "can't read /no/file: No such file or directory", {"show", "--file", "/no/file"});
    kTool.expect_failure(2, "can't read /tmp: Is a directory", {"show", "--file", "/tmp"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?",
                         {"show", "--file", kLog, "--module", "wlna"});
    kTool.expect_failure(2, "standard input can't be followed", {"show", "--file", "-", "--follow"});
    kTool.expect_usage("--level: unknown level 'wraning'; did you mean 'warning'?",
                       {"show", "--level", "wraning"});
    kTool.expect_usage("--file and --journal can't be given together", {"show", "--journal", "--file", kLog});
    kTool.expect_usage("unknown command 'shwo'; did you mean 'show'?", {"shwo"});
    kTool.expect_usage("unknown command 'level'", {"level", "wlan", "debug"});
    kTool.expect_usage("unknown command ''", {"", "debug"});
    kTool.expect_usage("unknown option '--no-such'", {"--no-such", "debug"});
    EXPECT_EQ(kTool.output_of({"--help"}), kTool.output_of({"--help", "level"}));
}

// ---- channels, reload ----

TEST(LogChannels, ShowHowTheyWereStarted) {
    ModuleOptions quiet;
    quiet.debug = false;
    quiet.environment = {"QUOR_SYSLOG_LEVEL=7"};
    ModuleProcess wlan(E_APPS_MODULE_WLAN);
    ModuleProcess router(E_APPS_MODULE_ROUTER, quiet);
    const std::string output = kTool.output_of({"channels"});
    const std::string wlan_row = "wlan    " + std::to_string(wlan.pid()) + "  ";
    EXPECT_EQ(0u, output.find("MODULE  PROCESS  DEBUG  SYSTEM LOG  DEBUG OUTPUT\nrouter  "));
    EXPECT_NE(std::string::npos, output.find("  off    debug       /"));
    EXPECT_NE(std::string::npos, output.find("  on     warning     /"));
    EXPECT_NE(std::string::npos, output.find(wlan_row.substr(0, wlan_row.size() - 1)));
    const std::string json = kTool.output_of({"channels", "--json", "router"});
    EXPECT_EQ(
        0u, json.find("[\n  {\n    \"name\": \"router\",\n    \"process\": " + std::to_string(router.pid()) +
                      ",\n    \"debug\": false,\n    \"system_log\": \"debug\",\n    \"debug_output\": \"/"))
        << json;
}

/* The environment of another user's process can't be read. */
using LogChannelsByAnotherUser = ByAnotherUser<testing::Test>;

TEST_F(LogChannelsByAnotherUser, ThatMayNotBeReadAreSaidSo) {
    const ModuleProcess wlan(E_APPS_MODULE_WLAN);
    fs::permissions("/tmp/m_tmp/lock", fs::perms::all);
    const ToolEnd end =
        run_shell("setpriv --reuid=60001 --clear-groups --bounding-set=-all -- $TOOLS/logtool channels");
    const std::string path = "/proc/" + std::to_string(wlan.pid()) + "/environ";
    EXPECT_EQ(1, end.status);
    EXPECT_NE(std::string::npos, end.output.find("  ?      ?")) << end.output;
    EXPECT_EQ(0u, end.errors.find("logtool: channels wlan: can't read " + path + ": no access to " + path +
                                  " (owner "))
        << end.errors;
}

TEST(LogChannels, OfModulesThatDoNotRunAreUnknown) {
    const ToolEnd end = kTool.run({"channels", "lcd"});
    EXPECT_EQ(3, end.status);
    EXPECT_EQ("logtool: channels lcd failed: its process is unknown\n", end.errors);
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"channels", "wlna"});
}

TEST(LogChannels, AreReadAgainWhenAsked) {
    ModuleProcess wlan(E_APPS_MODULE_WLAN);
    ModuleProcess router(E_APPS_MODULE_ROUTER);
    EXPECT_EQ("", kTool.output_of({"reload", "wlan"}));
    EXPECT_TRUE(wlan.process().wait_for_error("[LOGTOOL]==>[WLAN]::[E_APPS_MSG_SYS_LOG:5]"));
    EXPECT_EQ("", kTool.output_of({"reload", "--all"}));
    EXPECT_TRUE(router.process().wait_for_error("[LOGTOOL]==>[ROUTER]::[E_APPS_MSG_SYS_LOG:5]"));
}

TEST(LogChannels, AreNotReadAgainByWhoDoesNotRun) {
    forget_module("lcd");
    kTool.expect_failure(3, "reload lcd failed: lcd is not running: 1 E_APPS_ERR_MODULE", {"reload", "lcd"});
    kTool.expect_failure(2, "reload takes modules, or --all for every monitored one", {"reload"});
    kTool.expect_failure(2, "reload takes modules, or --all for every monitored one",
                         {"reload", "--all", "lcd"});
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"reload", "wlna"});
}

// ---- debug ----

class LogDebugMode : public ZndbTest {
  protected:
    LogDebugMode() {
        EXPECT_TRUE(write_text("/m_data/usr/debug_mode.sh", "#!/bin/sh\necho \"$1\" >> /tmp/debug_runs\n"));
        fs::permissions("/m_data/usr/debug_mode.sh", fs::perms::owner_all);
        fs::remove("/tmp/debug_runs");
        start();
    }
};

TEST_F(LogDebugMode, IsShownAndSwitched) {
    EXPECT_EQ("  debug mode        off\n  kept over reboot  no\n", kTool.output_of({"debug"}));
    EXPECT_EQ("  debug mode        on\n  kept over reboot  yes (rom)\n",
              kTool.output_of({"debug", "on", "--keep", "rom"}));
    EXPECT_EQ("true", plain("device_debug_mode"));
    EXPECT_EQ("{\n  \"debug_mode\": true,\n  \"kept\": [\n    \"rom\"\n  ]\n}\n",
              kTool.output_of({"debug", "--json"}));
    EXPECT_EQ("  debug mode        on\n  kept over reboot  no\n", kTool.output_of({"debug", "on"}));
    EXPECT_EQ("  debug mode        off\n  kept over reboot  no\n", kTool.output_of({"debug", "off"}));
    EXPECT_EQ("start\nstart\nstop\n", file_text("/tmp/debug_runs"));
}

TEST_F(LogDebugMode, NeedsTheDatabase) {
    zndb_->kill();
    const std::string absent =
        "debug failed: zndb is not running any more: nobody listens on its socket: 1 E_APPS_ERR_MODULE";
    kTool.expect_failure(3, absent, {"debug"});
    kTool.expect_failure(3, absent, {"debug", "on"});
    EXPECT_EQ("", file_text("/tmp/debug_runs"));
}

TEST_F(LogDebugMode, ADatabaseThatRefusesIsSaidSo) {
    zndb_->kill();
    const ModuleProcess stand_in(E_APPS_MODULE_ZNDB, {false, true, true, {}});
    kTool.expect_failure(1, "debug on failed: the database refused", {"debug", "on"});
}

TEST_F(LogDebugMode, WrongWordsGetTheNearestRightOne) {
    kTool.expect_usage("STATE: unknown state 'maybe'; one of: on, off", {"debug", "maybe"});
    kTool.expect_usage(
        "--level: unknown level 'loud'; one of: emergency, alert, critical, error, warning, notice, info, "
        "debug, "
        "verbose",
        {"show", "--level", "loud"});
    kTool.expect_usage("STATE: unknown state 'onn'; did you mean 'on'?", {"debug", "onn"});
    kTool.expect_usage("--keep: unknown way to keep it 'rmo'; did you mean 'rom'?",
                       {"debug", "on", "--keep", "rmo"});
    kTool.expect_failure(2, "--keep requires 'on'", {"debug", "off", "--keep", "rom"});
}

// ---- trace ----

class LogTrace : public testing::Test {
  protected:
    LogTrace() {
        fs::remove_all("/m_data/usr/trace");
        fs::remove_all("/m_data/usr/mask");
        EXPECT_TRUE(write_text("/etc/quor_apps_startup", "router voice\n"));
    }
};

TEST_F(LogTrace, IsShownAndSwitched) {
    EXPECT_EQ("  tracing           off\n  modules           -\n  mask              -\n",
              kTool.output_of({"trace"}));
    EXPECT_EQ(
        "  tracing           on\n"
        "  modules           router, voice, lcd (not in the start-up list)\n"
        "  mask              router,voice,mpss,lib,base\n",
        kTool.output_of({"trace", "on", "router", "voice", "lcd"}));
    EXPECT_EQ(
        "  tracing           on\n"
        "  modules           router\n"
        "  mask              router,lib,base\n",
        kTool.output_of({"trace", "off", "voice", "lcd"}));
    EXPECT_EQ("router,lib,base", file_text("/m_data/usr/mask/mal_service"));
    EXPECT_EQ("  tracing           off\n  modules           router\n  mask              -\n",
              kTool.output_of({"trace", "off"}));
    EXPECT_FALSE(fs::exists("/m_data/usr/mask/mal_service"));
}

TEST_F(LogTrace, IsShownAsJson) {
    EXPECT_EQ(
        "{\n  \"tracing\": true,\n  \"modules\": [\n    {\n      \"name\": \"router\",\n      \"counts\": "
        "true\n"
        "    },\n    {\n      \"name\": \"wlan\",\n      \"counts\": false\n    }\n  ],\n"
        "  \"mask\": \"router,lib,base\"\n}\n",
        kTool.output_of({"trace", "--json", "on", "wlan", "router"}));
}

TEST_F(LogTrace, SaysWhatIsDisabled) {
    fs::create_directories("/m_data/factor/apps_disable");
    ASSERT_TRUE(write_text("/m_data/factor/apps_disable/voice", ""));
    EXPECT_EQ("  tracing           on\n  modules           voice (disabled)\n  mask              -\n",
              kTool.output_of({"trace", "on", "voice"}));
    fs::remove("/m_data/factor/apps_disable/voice");
}

TEST_F(LogTrace, AFolderThatCannotBeMadeIsSaidSo) {
    ASSERT_TRUE(write_text("/m_data/usr/trace", ""));
    kTool.expect_failure(1, "trace on failed: can't make /m_data/usr/trace: Not a directory",
                         {"trace", "on", "router"});
    fs::remove("/m_data/usr/trace");
    ASSERT_TRUE(write_text("/m_data/usr/mask", ""));
    kTool.expect_failure(1, "trace on failed: can't write the mask", {"trace", "on", "router"});
    fs::remove("/m_data/usr/mask");
}

TEST_F(LogTrace, WrongNamesGetTheNearestRightOne) {
    kTool.expect_usage("STATE: unknown state 'offf'; did you mean 'off'?", {"trace", "offf"});
    kTool.expect_failure(2, "unknown module 'ruoter'; did you mean 'router'?", {"trace", "on", "ruoter"});
}

TEST(LogTool, CompletesItsWords) {
    EXPECT_EQ("on\noff\n", kTool.output_of({"--complete", "debug", ""}));
    EXPECT_EQ("warning\n", kTool.output_of({"--complete", "show", "--level", "w"}));
    EXPECT_EQ("wlan\n", kTool.output_of({"--complete", "show", "--module", "wl"}));
    EXPECT_EQ("wlan\n", kTool.output_of({"--complete", "trace", "on", "router", "wl"}));
    EXPECT_EQ("ram\nrom\n", kTool.output_of({"--complete", "debug", "on", "--keep", "r"}));
}

}  // namespace
