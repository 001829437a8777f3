/*
 * logtool show: periods, programs, the ring buffer, and colours.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "system/tools/log_fixture.h"
#include "system/tools/tool_checks.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("logtool");

/* One line a minute, with a continuation and lines of other programs. */
const char kDatedLog[] =
    "2001-11-20T10:00:00+00:00 box wlan[7]: one\n"
    "2001-11-20T10:01:00+00:00 box kernel: two\n"
    "  continued\n"
    "2001-11-20T10:02:00+00:00 box sshd[9]: three\n"
    "2001-11-20T10:03:00+00:00 box wlan[7]: four\n";

/* The words that logtool gives to a program, whose other words are those of every query. */
std::string words_for_journalctl(const std::string &arguments) {
    fake_journalctl("echo \"${*:4}\" > /tmp/journal.words");
    const ToolEnd end = run_shell("TZ=UTC0 " + with_fakes() + "$TOOLS/logtool show --journal " + arguments);
    EXPECT_EQ(0, end.status) << end.errors;
    return file_text("/tmp/journal.words");
}

class LogShowPeriod : public LogShow {
  protected:
    LogShowPeriod() { EXPECT_TRUE(write_text(kLog, kDatedLog)); }

    /* The texts of the lines, on one line. */
    static std::string shown(const std::string &arguments) {
        const ToolEnd end = run_shell("TZ=UTC0 $TOOLS/logtool show --file " + kLog + " " + arguments +
                                      " | sed 's/.*: //;s/ *//' | tr '\\n' ' '; echo");
        EXPECT_EQ("", end.errors);
        return end.output;
    }
};

TEST_F(LogShowPeriod, HasABeginningAndAnEnd) {
    EXPECT_EQ("two continued three four \n", shown("--since '2001-11-20 10:01'"));
    EXPECT_EQ("one two continued \n", shown("-U '2001-11-20 10:01:30'"));
    EXPECT_EQ("two continued three \n", shown("-S '2001-11-20 10:01' --until 2001-11-20T10:02:00Z"));
    EXPECT_EQ("four \n", shown("--since '2001-11-20 10:01' --module wlan"));
    EXPECT_EQ("three \n", shown("--until '2001-11-20 10:02' -n 1"));
    EXPECT_EQ("one two continued three four \n", shown("--since @0 --until now"));
}

TEST_F(LogShowPeriod, MayBeginBeforeNow) {
    ASSERT_TRUE(write_text(kLog, "1999-11-20T10:00:00Z box wlan[7]: old\n"));
    append(kLog, run_shell("date -u +'%FT%TZ box wlan[7]: new'").output);
    for (const char *since : {"-1h", "yesterday", "'5 min ago'", "-1d"}) {
        EXPECT_EQ("new \n", shown("--since " + std::string(since))) << since;
        EXPECT_EQ("old \n", shown("--until=" + std::string(since))) << since;
    }
}

TEST_F(LogShowPeriod, MayBeginWithTheStartOfTheDevice) {
    ASSERT_TRUE(write_text(kLog, "1999-11-20T10:00:00Z box wlan[7]: old\n"));
    append(kLog, run_shell("date -u +'%FT%TZ box wlan[7]: new'").output);
    EXPECT_EQ("new \n", shown("--since boot"));
    EXPECT_EQ("new \n", shown("--boot"));
    EXPECT_EQ("new \n", shown("-b --module wlan"));
    EXPECT_EQ("old \n", shown("--until boot"));
    EXPECT_EQ(0u, words_for_journalctl("-b").find("--since=@"));
    kTool.expect_usage("--since and --boot can't be given together", {"show", "--since", "now", "--boot"});
}

TEST_F(LogShowPeriod, ThatSelectsNothingIsSaidSo) {
    kTool.expect_failure(0, "none of the 5 lines of " + kLog + " is selected by the options",
                         {"show", "--file", kLog, "--until", "2001-11-19"});
}

TEST_F(LogShowPeriod, WrongWordsAreExplained) {
    const std::string examples =
        " is not a time; examples: '2026-11-22 10:00', '10:00', '-1h', '5 min ago', 'yesterday'";
    kTool.expect_usage("--since: 'last week'" + examples, {"show", "--since", "last week"});
    kTool.expect_usage("--until: '25:00'" + examples, {"show", "--until", "25:00"});
    kTool.expect_usage("--until and --follow can't be given together", {"show", "-f", "--until", "now"});
    kTool.expect_failure(2, "--since is later than --until",
                         {"show", "--since", "2001-11-20", "--until", "2001-11-19"});
}

TEST_F(LogShowPeriod, IsLeftToTheJournal) {
    EXPECT_EQ("--since=@1795348800 --until=@1795352400\n",
              words_for_journalctl("--since '2026-11-22 12:00' --until '2026-11-22 13:00'"));
    EXPECT_EQ("--lines=5\n", words_for_journalctl("-n 5"));
    EXPECT_EQ("\n", words_for_journalctl("-n 5 --text x"));
    EXPECT_EQ("\n", words_for_journalctl("-n 5 -p err"));
}

TEST_F(LogShowPeriod, WithoutLinesInTheJournalIsSaidSo) {
    fake_journalctl("true");
    const ToolEnd end = run_shell(with_fakes() + "$TOOLS/logtool show --journal --since today");
    EXPECT_EQ(0u, end.errors.find("logtool: there are no lines: the journal has no lines of this time"))
        << end.errors;
}

TEST_F(LogShowPeriod, CompletesTimes) {
    EXPECT_EQ("today\n", kTool.output_of({"--complete", "show", "--since", "t"}));
    EXPECT_EQ("-10min\n-1h\n-1d\n", kTool.output_of({"--complete", "show", "-S", "-"}));
}

// ---- follow ----

TEST_F(LogShowPeriod, AFollowerThatNamesItSeesAllOfIt) {
    std::string many;
    for (int i = 0; i < 30; ++i) {
        many += "2001-11-20T11:00:00Z box wlan[7]: line\n";
    }
    append(kLog, many);
    const auto following = follow({"-f", "--file", kLog, "--since", "2001-11-20T10:03:00Z"});
    EXPECT_EQ("2001-11-20T10:03:00+00:00 wlan[7]: four", line_from(following));
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ("2001-11-20T11:00:00Z wlan[7]: line", line_from(following));
    }
    append(kLog, "2001-11-20T10:00:00Z box wlan[7]: late\n2001-11-20T12:00:00Z box wlan[7]: new\n");
    EXPECT_EQ("2001-11-20T12:00:00Z wlan[7]: new", line_from(following));
}

TEST_F(LogShowPeriod, ShortOptionsAreThoseOfOtherTools) {
    ASSERT_TRUE(write_text("/tmp/short.log", "Nov 21 04:40:00 box auth.err sshd[7]: a\n"));
    append("/tmp/short.log", "Nov 21 04:40:00 box auth.err sshd[7]: b\nNov 21 04:40:00 box auth.err x: c\n");
    ChildProcess following({tool_path("logtool"), "show", "-f", "-n", "1", "-t", "sshd", "-p", "err",
                            "--file", "/tmp/short.log"},
                           {"QUOR_DEBUG=0"});
    EXPECT_EQ("Nov 21 04:40:00 error sshd[7]: b", following.read_line().value_or("no line"));
    append("/tmp/short.log",
           "Nov 21 04:40:00 box auth.info sshd[7]: d\nNov 21 04:40:00 box auth.err sshd: e\n");
    EXPECT_EQ("Nov 21 04:40:00 error sshd: e", following.read_line().value_or("no line"));
}

// ---- programs ----

TEST_F(LogShow, SelectsProgramsThatAreNotModules) {
    EXPECT_EQ("Nov 21 04:40:03 kernel: link is up\n",
              kTool.output_of({"show", "--file", kLog, "--program", "Kernel"}));
    EXPECT_EQ(
        "Nov 21 04:40:02 error router[8]: b.cpp g:3 no route\n"
        "Nov 21 04:40:03 kernel: link is up\n",
        kTool.output_of({"show", "--file", kLog, "-t", "kernel", "-t", "sshd", "--module", "router"}));
    EXPECT_EQ("{\"time\":\"Nov 21 04:40:03\",\"module\":\"kernel\",\"text\":\"link is up\"}\n",
              kTool.output_of({"show", "--file", kLog, "-t", "kernel", "--json"}));
}

TEST_F(LogShow, AsksTheJournalForProgramsToo) {
    EXPECT_EQ("SYSLOG_IDENTIFIER=wlan SYSLOG_IDENTIFIER=sshd + _COMM=sshd\n",
              words_for_journalctl("--module wlan --program sshd"));
    fake_journalctl("echo '{\"_COMM\":\"sshd\",\"MESSAGE\":\"from sshd\"}'");
    EXPECT_EQ("sshd: from sshd\n", run_shell(with_fakes() + "$TOOLS/logtool show --journal -t sshd").output);
}

TEST_F(LogShow, AModuleThatIsNoneMayBeAProgram) {
    kTool.expect_failure(2, "unknown module 'sshd'; --program selects lines of other programs",
                         {"show", "--file", kLog, "--module", "sshd"});
}

// ---- the ring buffer ----

/* A device with busybox: without a log file and without a journal. */
ToolEnd with_busybox(const std::string &arguments) {
    return with_own_logs("PATH=" + kFakes + " $TOOLS/logtool show " + arguments);
}

TEST_F(LogShow, ReadsTheRingBufferWhereThereIsNeitherFileNorJournal) {
    fake_program("logread",
                 "[ $# = 0 ] && echo 'Nov 21 04:40:00 box local7.warn wlan[7]: a' && "
                 "echo 'Nov 21 04:40:01 box user.info sshd[8]: b'");
    EXPECT_EQ("Nov 21 04:40:00 warning wlan[7]: a\nNov 21 04:40:01 info sshd[8]: b\n",
              with_busybox("").output);
    EXPECT_EQ("Nov 21 04:40:01 info sshd[8]: b\n", with_busybox("--program sshd --lines 5").output);
    EXPECT_EQ("Nov 21 04:40:01 info sshd[8]: b\n", with_busybox("--since Nov\\ 21\\ 04:40:01").output);
}

TEST_F(LogShow, TheRingBufferIsTheLastPlace) {
    fake_program("logread", "echo ring");
    fake_journalctl("echo '{\"MESSAGE\":\"journal\"}'");
    EXPECT_EQ("journal\n", with_busybox("").output);
    EXPECT_EQ("ring\n", with_busybox("--logread").output);
    EXPECT_EQ(
        "file\n",
        with_own_logs("echo file > /var/log/messages && PATH=" + kFakes + " $TOOLS/logtool show").output);
    fs::remove(kFakes + "/journalctl");
    EXPECT_EQ("ring\n", with_busybox("").output);
    kTool.expect_usage("--file and --logread can't be given together", {"show", "--logread", "--file", "x"});
}

TEST_F(LogShow, ARingBufferThatCannotBeReadIsSaidSo) {
    fake_program("logread", "echo 'no buffer' >&2; exit 1");
    const ToolEnd failed = with_busybox("");
    EXPECT_EQ(1, failed.status);
    EXPECT_EQ(
        "no buffer\nlogtool: logread failed; /var/log/messages is missing; /var/log/syslog is missing\n",
        failed.errors);
}

TEST_F(LogShow, ARingBufferWithoutItsProgramIsSaidSo) {
    const ToolEnd missing = run_shell("PATH= $TOOLS/logtool show --logread");
    EXPECT_EQ(1, missing.status);
    EXPECT_EQ("logtool: can't run logread: No such file or directory\n", missing.errors);
    const ToolEnd following = run_shell("PATH= $TOOLS/logtool show --logread -f");
    EXPECT_EQ("logtool: can't run logread: No such file or directory\n", following.errors);
}

TEST_F(LogShow, AnEmptyRingBufferIsSaidSo) {
    fake_program("logread", "true");
    EXPECT_EQ(
        "logtool: there are no lines: /var/log/messages is missing; /var/log/syslog is missing; the ring "
        "buffer is empty\n",
        with_busybox("").errors);
}

/* The follower starts first here and prints a line that the buffer has, too. */
TEST_F(LogShow, FollowsTheRingBufferWithoutLosingOrRepeatingALine) {
    fake_program(
        "logread",
        "if [ \"$1\" = -f ]; then echo two; touch /tmp/ring.follower; echo three; echo two; echo $$ > "
        "/tmp/ring.pid; exec sleep 60; fi\n"
        "until [ -e /tmp/ring.follower ]; do sleep 0.01; done; echo one; echo two\n");
    fs::remove("/tmp/ring.follower");
    fs::remove("/tmp/ring.pid");
    const auto following = follow({"--logread"});
    for (const char *line : {"one", "two", "three", "two"}) {
        EXPECT_EQ(line, line_from(following));
    }
    ASSERT_TRUE(wait_until([] { return file_text("/tmp/ring.pid").find('\n') != std::string::npos; }));
    following->send_signal(SIGINT);
    EXPECT_EQ(0, following->exit_status());
    EXPECT_EQ("", following->errors());
    EXPECT_FALSE(fs::exists("/proc/" + std::to_string(std::stoi(file_text("/tmp/ring.pid")))));
}

TEST_F(LogShow, AFollowerOfTheRingBufferThatEndsIsSaidSo) {
    fake_program("logread", "[ \"$1\" = -f ] && exit 1; echo one");
    const ToolEnd end = run_shell(with_fakes() + "$TOOLS/logtool show --logread -f");
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("one\n", end.output);
    EXPECT_EQ("logtool: logread failed\n", end.errors);
}

TEST_F(LogShow, CtrlCEndsAProgramThatHangs) {
    fake_program("logread", "echo $$ > /tmp/hanging.pid; exec sleep 60");
    fs::remove("/tmp/hanging.pid");
    ChildProcess showing({tool_path("logtool"), "show", "--logread"},
                         {"QUOR_DEBUG=0", "PATH=" + kFakes + ":/usr/bin:/bin"});
    ASSERT_TRUE(wait_until([] { return file_text("/tmp/hanging.pid").find('\n') != std::string::npos; }));
    showing.send_signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, showing.exit_status());
    EXPECT_FALSE(fs::exists("/proc/" + std::to_string(std::stoi(file_text("/tmp/hanging.pid")))));
}

TEST_F(LogShow, AFullDiskEndsTheRingBuffer) {
    fake_program("logread", "echo one");
    const ToolEnd end = run_shell(with_fakes() + "$TOOLS/logtool show --logread > /dev/full");
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("logtool: can't write the output: No space left on device\n", end.errors);
}

// ---- colours ----

/* A line of a level as a terminal shows it: the level's word and the text. */
std::string coloured(const std::string &level, const std::vector<std::string> &environment = {}) {
    EXPECT_TRUE(write_text(kLog, "Nov 21 04:40:00 box user." + level + " x: text\n"));
    TerminalOptions options;
    options.environment = environment;
    const std::string output = run_on_terminal({"logtool", "show", "--file", kLog}, options).output;
    const std::string begin = environment.empty() ? "\033[2mNov 21 04:40:00\033[0m " : "Nov 21 04:40:00 ";
    EXPECT_EQ(0u, output.find(begin)) << output;
    return output.substr(begin.size());
}

TEST_F(LogShow, LinesHaveTheColoursOfTheirLevels) {
    const std::string tag = " \033[1mx:\033[0m ";
    EXPECT_EQ("\033[1;31merror\033[0m" + tag + "\033[1;31mtext\033[0m\r\n", coloured("err"));
    EXPECT_EQ("\033[1;31mcritical\033[0m" + tag + "\033[1;31mtext\033[0m\r\n", coloured("crit"));
    EXPECT_EQ("\033[33mwarning\033[0m" + tag + "\033[33mtext\033[0m\r\n", coloured("warn"));
    EXPECT_EQ("\033[1mnotice\033[0m" + tag + "\033[1mtext\033[0m\r\n", coloured("notice"));
    EXPECT_EQ("info" + tag + "text\r\n", coloured("info"));
    EXPECT_EQ("\033[2mdebug\033[0m" + tag + "\033[2mtext\033[0m\r\n", coloured("debug"));
}

TEST_F(LogShow, NoColorIsRespected) {
    EXPECT_EQ("error x: text\r\n", coloured("err", {"NO_COLOR=1"}));
    EXPECT_EQ("error x: text\r\n", coloured("err", {"TERM=dumb"}));
}

}  // namespace
