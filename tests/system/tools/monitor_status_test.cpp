/*
 * monitor_tool status: several modules, and the last lines of their logs.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/unprivileged.h"
#include "support/wait_until.h"
#include "system/tools/log_fixture.h"
#include "system/tools/monitor_fixture.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kTool("monitor_tool");

/* A running wlan, and no programs of an earlier test. */
class MonitorStatus : public MonitorTool {
  protected:
    MonitorStatus() { std::filesystem::remove_all(kFakes); }

    /* The tool with a log file of its own, which has these lines. */
    static ToolEnd with_log(const std::string &lines, const std::string &arguments) {
        EXPECT_TRUE(write_text("/tmp/status.log", lines));
        return with_own_logs("cp /tmp/status.log /var/log/messages && $TOOLS/monitor_tool status " +
                             arguments);
    }

    /* The same on a device with only the programs of kFakes. */
    static ToolEnd without_file(const std::string &arguments) {
        return with_own_logs("PATH=" + kFakes + " $TOOLS/monitor_tool status " + arguments);
    }

    static bool has(const ToolEnd &end, const std::string &part) {
        return end.output.find(part) != std::string::npos;
    }
};

const char kLines[] =
    "Nov 21 04:40:00 box user.err wlan[7]: a.cpp f:1 first\n"
    "Nov 21 04:40:01 box user.warn router[8]: b.cpp g:2 second\n"
    "Nov 21 04:40:02 box user.info wlan[9]: a.cpp f:3 third\n"
    "Nov 21 04:40:03 box kernel: link is up\n";

TEST_F(MonitorStatus, ShowsTheLastLinesOfTheLogFile) {
    const ToolEnd end = with_log(kLines, "wlan");
    EXPECT_EQ(0, end.status) << end.errors;
    EXPECT_TRUE(has(end,
                    "\n  restarts          2 or more, by the process ids in the log\n"
                    "  log               the last lines in /var/log/messages\n"
                    "    Nov 21 04:40:00 error a.cpp f:1 first\n"
                    "    Nov 21 04:40:02 info a.cpp f:3 third\n"))
        << end.output;
    EXPECT_FALSE(has(end, "second")) << end.output;
    const ToolEnd one = with_log(kLines, "wlan -n 1");
    EXPECT_FALSE(has(one, "first")) << one.output;
    EXPECT_TRUE(has(one, "\n    Nov 21 04:40:02 info a.cpp f:3 third\n")) << one.output;
    EXPECT_TRUE(has(one, "2 or more")) << "of all that was read";
    EXPECT_FALSE(has(with_log(kLines, "wlan --lines 0"), "  log  "));
}

TEST_F(MonitorStatus, ShowsTheProcess) {
    const ToolEnd end = kTool.run({"status", "wlan"});
    for (const char *field : {"\n  processor         ", "\n  resident memory   ", "\n  threads           ",
                              "\n  uptime            "}) {
        EXPECT_TRUE(has(end, field)) << end.output;
        EXPECT_FALSE(has(end, std::string(field) + "-")) << end.output;
    }
}

TEST_F(MonitorStatus, ShowsSeveralModulesThoseInTroubleFirst) {
    const ModuleProcess router(E_APPS_MODULE_ROUTER);
    forget_module("sms");
    const ToolEnd end = with_log(kLines, "wlan sms ROUTER wlan");
    EXPECT_EQ(3, end.status);
    EXPECT_EQ("monitor_tool: status sms failed: sms is not running: 1 E_APPS_ERR_MODULE\n", end.errors);
    EXPECT_EQ(0u, end.output.find("wlan\n  id                5\n")) << end.output;
    EXPECT_TRUE(has(end, "third\n\nsms\n  id                11\n")) << end.output;
    EXPECT_TRUE(has(end, "  log               no lines in /var/log/messages\n\nrouter\n")) << end.output;
    EXPECT_TRUE(has(end, "    Nov 21 04:40:01 warning b.cpp g:2 second\n")) << end.output;
    EXPECT_EQ(end.output.find("\nwlan\n"), std::string::npos) << "each once";
    hang_wlan();
    const ToolEnd hanging = kTool.run({"status", "router", "wlan", "--timeout", "2", "-n", "0"});
    EXPECT_EQ(0u, hanging.output.find("wlan\n")) << hanging.output;
    EXPECT_TRUE(has(hanging, "\n\nrouter\n")) << hanging.output;
}

TEST_F(MonitorStatus, OneModuleIsAnObjectAndSeveralAreAnArray) {
    const ToolEnd one = with_log(kLines, "wlan --json -n 1");
    EXPECT_EQ(0u, one.output.find("{\n  \"id\": 5,\n")) << one.output;
    EXPECT_TRUE(has(one,
                    "  \"restarts_in_log\": 2,\n  \"log\": [\n    {\n      \"time\": \"Nov 21 04:40:02\",\n"
                    "      \"module\": \"wlan\",\n      \"process\": \"9\",\n      \"level\": \"info\",\n"
                    "      \"text\": \"a.cpp f:3 third\"\n    }\n  ]\n}\n"))
        << one.output;
    const ToolEnd two = with_log(kLines, "wlan tr069 --json");
    EXPECT_EQ(0u, two.output.find("[\n  {\n    \"id\": 5,\n")) << two.output;
    EXPECT_TRUE(has(two, "    \"id\": 18,\n")) << two.output;
    EXPECT_TRUE(has(two, "    \"log\": [\n    ]\n  }\n]\n")) << two.output;
}

TEST_F(MonitorStatus, ReadsOnlyTheEndOfALargeFile) {
    EXPECT_TRUE(write_text("/tmp/status.log", kLines));
    const ToolEnd end = with_own_logs(
        "(cat /tmp/status.log; yes \"Nov 21 04:41:00 box user.err lcd[5]: filler filler\" | head -c 5000000; "
        "echo; "
        "echo \"Nov 21 04:42:00 box user.err wlan[11]: last\") > /var/log/messages && $TOOLS/monitor_tool "
        "status "
        "wlan");
    EXPECT_TRUE(has(end, "\n    Nov 21 04:42:00 error last\n")) << end.output;
    EXPECT_FALSE(has(end, "first")) << end.output;
    EXPECT_TRUE(has(end, "1 or more")) << end.output;
}

TEST_F(MonitorStatus, ReadsTheJournalOrTheRingBuffer) {
    fake_program("logread", "echo 'Nov 21 04:40:00 box user.err wlan[7]: from the ring'");
    const ToolEnd ring = without_file("wlan");
    EXPECT_TRUE(has(ring, "the last lines in the ring buffer\n    Nov 21 04:40:00 error from the ring\n"))
        << ring.output;
    fake_journalctl(
        "case \"$*\" in *--lines=1000*=wlan) echo '{\"SYSLOG_IDENTIFIER\":\"wlan\",\"MESSAGE\":\"from the "
        "journal\"}';; esac");
    const ToolEnd journal = without_file("wlan sms");
    EXPECT_TRUE(
        has(journal,
            "\n  restarts          -\n  log               the last lines in the journal\n    from the "
            "journal\n"))
        << journal.output;
    EXPECT_TRUE(has(journal, "\n  log               no lines in the journal\n")) << journal.output;
}

TEST_F(MonitorStatus, ALogThatCannotBeReadIsNoFailure) {
    fake_program("logread", "exit 1");
    const ToolEnd failed = without_file("wlan");
    EXPECT_EQ(0, failed.status) << failed.errors;
    EXPECT_TRUE(has(failed, "\n  log               logread failed\n")) << failed.output;
    std::filesystem::remove_all(kFakes);
    EXPECT_TRUE(has(without_file("wlan"), "journalctl")) << "the place that was tried last";
    const ToolEnd forbidden = with_own_logs("touch /var/log/messages && chmod 0 /var/log/messages && " +
                                            modes_hold() + "$TOOLS/monitor_tool status wlan");
    EXPECT_EQ(0, forbidden.status) << forbidden.errors;
    EXPECT_TRUE(has(forbidden,
                    "\n  log               can't read /var/log/messages: no access to /var/log/messages "
                    "(owner "))
        << forbidden.output;
    const ToolEnd endless = with_own_logs(
        "touch /var/log/messages && mount --bind /dev/full /var/log/messages && $TOOLS/monitor_tool "
        "status wlan");
    EXPECT_EQ(0, endless.status) << endless.errors;
}

TEST_F(MonitorStatus, CtrlCEndsTheWaitForALogThatHangs) {
    fake_journalctl("echo $$ > /tmp/hanging.journal; exec sleep 60");
    std::filesystem::remove("/tmp/hanging.journal");
    const std::string user = geteuid() == 0 ? "" : "--map-root-user ";
    ChildProcess status({"bash", "-c",
                         "exec unshare --mount " + user + "bash -c 'mount -t tmpfs tmpfs /var/log && exec " +
                             tool_path("monitor_tool") + " status wlan'"},
                        {"QUOR_DEBUG=0", "PATH=" + kFakes + ":/usr/bin:/bin:/usr/sbin:/sbin"});
    ASSERT_TRUE(wait_until([] { return file_text("/tmp/hanging.journal").find('\n') != std::string::npos; }));
    status.send_signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, status.exit_status());
    EXPECT_FALSE(
        std::filesystem::exists("/proc/" + std::to_string(std::stoi(file_text("/tmp/hanging.journal")))));
}

TEST_F(MonitorStatus, ColoursTroubleAndTheLinesOfTheLog) {
    hang_wlan();
    EXPECT_TRUE(write_text("/tmp/status.log", kLines));
    TerminalOptions narrow;
    narrow.columns = 40;
    const ToolEnd end = run_on_terminal(
        {"/usr/bin/unshare", "--mount", geteuid() == 0 ? "--fork" : "--map-root-user", "bash", "-c",
         "mount -t tmpfs tmpfs /var/log && cp /tmp/status.log /var/log/messages && exec " +
             tool_path("monitor_tool") + " status wlan --timeout 2"},
        narrow);
    EXPECT_EQ(0u, end.output.find("\033[1;31mwlan\033[0m\r\n")) << end.output;
    EXPECT_TRUE(has(end, "\033[1;31m    Nov 21 04:40:00 error a.cpp f:1\r\n    first\033[0m\r\n"))
        << end.output;
}

TEST_F(MonitorStatus, WrongUsageIsExplained) {
    kTool.expect_failure(2, "unknown module 'wlna'; did you mean 'wlan'?", {"status", "wlan", "wlna"});
    kTool.expect_usage("--lines: '10001' is not a whole number from 0 to 10000",
                       {"status", "wlan", "-n", "10001"});
    EXPECT_EQ("wlan\n", kTool.output_of({"--complete", "status", "sms", "wl"}));
}

}  // namespace
