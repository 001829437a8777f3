/*
 * Diagnostics with fake tools: their arguments, and the handling of whatever they do.
 */
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/tool_folder.h"
#include "support/wait_until.h"
#include "system/diag/diagnosis.h"
#include "unit/frwk_diag/diag_requests.h"

namespace {

constexpr char kOutputFolder[] = "/tmp/m_tmp";
constexpr char kPidFile[] = "/m_data/usr/pid";

class DiagStandIn : public testing::Test {
  protected:
    DiagStandIn() {
        for (const char *tool : {"ping", "traceroute", "nslookup", "iperf3"}) {
            tools_.put_script(tool, R"(printf '<%s>' "${0##*/}" "$@")");
        }
    }
    ~DiagStandIn() override { unlink(kPidFile); }

    /* What ping prints when it does this. */
    std::string text_of_ping(const std::string &body) {
        tools_.put_script("ping", body);
        const Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
        EXPECT_EQ(E_APPS_ERR_SUCCESS, ping.result());
        return ping.text();
    }

    const ToolFolder tools_;
};

std::string seen(int32_t type, const frwk_diag_req &req) {
    const Diagnosis diagnosis(type, req);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, diagnosis.result());
    return diagnosis.text();
}

bool exists(const std::string &path) {
    return access(path.c_str(), F_OK) == 0;
}

/* The process whose number a tool has written. */
pid_t noted_process() {
    EXPECT_TRUE(wait_until([] { return file_text(kPidFile).find('\n') != std::string::npos; }));
    const pid_t pid = atoi(file_text(kPidFile).c_str());
    EXPECT_GT(pid, 0);
    return pid;
}

/* A file system of its own over the output folder, until the end of the scope. */
class SmallOutputFolder {
  public:
    explicit SmallOutputFolder(const char *options) {
        EXPECT_EQ(0, mount("tmpfs", kOutputFolder, "tmpfs", 0, options));
    }
    ~SmallOutputFolder() { umount(kOutputFolder); }
    SmallOutputFolder(const SmallOutputFolder &) = delete;
    SmallOutputFolder &operator=(const SmallOutputFolder &) = delete;
};

}  // namespace

TEST_F(DiagStandIn, AToolIsAskedUntranslated) {
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ("C", text_of_ping("printf %s $LC_ALL"));
    unsetenv("LC_ALL");
}

TEST_F(DiagStandIn, PingGetsEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 16; ++combination) {
        const frwk_diag_req req = ping_with(combination);
        EXPECT_EQ("<ping><-W><1>" + option(combination, 0, "<-c><4>") + option(combination, 1, "<-s><1400>") +
                      option(combination, 2, "<-w><10>") + option(combination, 3, "<-I><rmnet0>") +
                      "<8.8.8.8>",
                  seen(FRWK_DIAG_TYPE_PING, req));
    }
}

TEST_F(DiagStandIn, TracerouteGetsEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 8; ++combination) {
        const frwk_diag_req req = traceroute_with(combination);
        EXPECT_EQ("<traceroute><-n>" + option(combination, 0, "<-q><2>") +
                      option(combination, 1, "<-m><12>") + option(combination, 2, "<-w><3>") + "<fe80::1>",
                  seen(FRWK_DIAG_TYPE_TRACEROUTE, req));
    }
}

TEST_F(DiagStandIn, NslookupGetsAServerOrNone) {
    EXPECT_EQ("<nslookup><example.com><10.0.0.1>",
              seen(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("example.com", "10.0.0.1")));
    EXPECT_EQ("<nslookup><example.com>", seen(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("example.com")));
}

TEST_F(DiagStandIn, IperfGetsEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 8; ++combination) {
        const frwk_diag_req req = iperf_with(combination);
        EXPECT_EQ("<iperf3>" + option(combination, 0, "<-u>") + "<-c><iperf.example.com>" +
                      option(combination, 1, "<-p><5202>") + option(combination, 2, "<-t><7>"),
                  seen(FRWK_DIAG_TYPE_IPERF, req));
    }
}

TEST_F(DiagStandIn, BracketsMeanNothingToTheShell) {
    EXPECT_EQ(0, chdir("/m_data/usr"));
    EXPECT_TRUE(write_text("/m_data/usr/a", ""));
    EXPECT_EQ("<ping><-W><1><[a-z]>", seen(FRWK_DIAG_TYPE_PING, ping_of("[a-z]")));
}

TEST_F(DiagStandIn, ARefusedTargetRunsNothing) {
    tools_.put_script("ping", std::string("echo $$ >") + kPidFile);
    for (const char *target : {"a b", "a;b", "`b`", "$(b)", "-f", "a\nb"}) {
        EXPECT_EQ(E_APPS_ERR_PARAM, Diagnosis(FRWK_DIAG_TYPE_PING, ping_of(target)).result()) << target;
    }
    EXPECT_FALSE(exists(kPidFile));
}

TEST_F(DiagStandIn, TypeFourRunsNothingAndMakesNoFile) {
    const Diagnosis diagnosis(4, ping_of("a"));
    EXPECT_EQ(E_APPS_ERR_PARAM, diagnosis.result());
    EXPECT_EQ("", diagnosis.path());
}

TEST_F(DiagStandIn, BothOutputsAreCollected) {
    EXPECT_EQ("out\nerr\n", text_of_ping("echo out; echo err >&2; exit 1"));
}

TEST_F(DiagStandIn, AToolThatPrintsNothingGivesAnEmptyText) {
    EXPECT_EQ("", text_of_ping("exit 0"));
}

TEST_F(DiagStandIn, NulBytesAreKept) {
    EXPECT_EQ(std::string("a\0b\0", 4), text_of_ping("printf 'a\\0b\\0'"));
}

TEST_F(DiagStandIn, SixteenMebibytesAreKept) {
    const std::string text = text_of_ping("head -c 16777215 /dev/zero | tr '\\0' x");
    EXPECT_EQ(16'777'215u, text.size());
    EXPECT_EQ(std::string::npos, text.find_first_not_of('x'));
}

TEST_F(DiagStandIn, AnOutputIsStoppedAt16MebibytesAndSaysSo) {
    const std::string text = text_of_ping("exec yes");
    const std::string last = "\n(the output was stopped at 16 MiB)\n";
    ASSERT_EQ(16'777'216u + last.size(), text.size());
    EXPECT_EQ(last, text.substr(16'777'216));
}

TEST_F(DiagStandIn, AMissingToolIsTheShellsToReport) {
    tools_.hide_others();
    EXPECT_EQ(0, unlink("/m_data/usr/tools/iperf3"));
    EXPECT_NE(std::string::npos, seen(FRWK_DIAG_TYPE_IPERF, iperf_of("a")).find("iperf3: not found"));
}

TEST_F(DiagStandIn, AToolThatHangsIsAwaitedUntilItIsKilled) {
    std::thread killer([] { kill(noted_process(), SIGKILL); });
    const std::string text = text_of_ping(std::string("echo before; echo $$ >") + kPidFile + "; sleep 1000");
    killer.join();
    EXPECT_EQ("before\n", text.substr(0, 7));
}

TEST_F(DiagStandIn, ChildrenInTheBackgroundEndWithTheTool) {
    EXPECT_EQ("tool\n", text_of_ping(std::string("echo tool; sleep 1000 & echo $! >") + kPidFile));
    EXPECT_TRUE(has_ended(noted_process()));
}

TEST_F(DiagStandIn, DetachedChildrenEndWithTheTool) {
    text_of_ping(std::string("setsid sh -c 'trap \"\" HUP TERM; echo $$ >") + kPidFile +
                 "; sleep 1000; :' </dev/null >/dev/null 2>&1 & until test -s " + kPidFile +
                 "; do sleep 0.01; done");
    EXPECT_TRUE(has_ended(noted_process()));
}

TEST_F(DiagStandIn, ChildrenThatGoOnPrintingChangeNothingAnyMore) {
    tools_.put_script("ping", std::string("while :; do echo x; done & echo $! >") + kPidFile);
    Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping.result());
    EXPECT_EQ(file_text(ping.path()), ping.text());
    EXPECT_TRUE(has_ended(noted_process()));
}

TEST_F(DiagStandIn, NoFileOutlivesTheContext) {
    Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
    const std::string path = ping.path();
    EXPECT_TRUE(exists(path));
    ping.free();
    EXPECT_FALSE(exists(path));
}

TEST_F(DiagStandIn, RunsAtTheSameTimeDoNotMix) {
    std::thread threads[4];
    std::string texts[4];
    for (int i = 0; i < 4; ++i) {
        threads[i] = std::thread(
            [i, &texts] { texts[i] = seen(FRWK_DIAG_TYPE_PING, ping_of("host" + std::to_string(i))); });
    }
    for (int i = 0; i < 4; ++i) {
        threads[i].join();
        EXPECT_EQ("<ping><-W><1><host" + std::to_string(i) + ">", texts[i]);
    }
}

TEST_F(DiagStandIn, WithoutItsFolderThereIsNoOutput) {
    ASSERT_EQ(0, rename(kOutputFolder, "/tmp/away"));
    const Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
    EXPECT_EQ(E_APPS_ERR_IO, ping.result());
    EXPECT_EQ(0, rename("/tmp/away", kOutputFolder));
}

TEST_F(DiagStandIn, InAFolderThatTakesNoFileThereIsNoOutput) {
    const SmallOutputFolder folder("nr_inodes=1");
    EXPECT_EQ(E_APPS_ERR_IO, Diagnosis(FRWK_DIAG_TYPE_PING, ping_of("a")).result());
}

TEST_F(DiagStandIn, AFullFolderKeepsWhatFits) {
    const SmallOutputFolder folder("size=64k");
    const std::string text = text_of_ping("head -c 1000000 /dev/zero | tr '\\0' x");
    EXPECT_GT(text.size(), 0u);
    EXPECT_LE(text.size(), 65'536u);
    EXPECT_EQ(std::string::npos, text.find_first_not_of('x'));
}

TEST_F(DiagStandIn, AFolderThatIsFullFromTheStartGivesAnEmptyText) {
    const SmallOutputFolder folder("size=64k");
    EXPECT_FALSE(write_text("/tmp/m_tmp/filler", std::string(65'537, 'f')));
    EXPECT_EQ("", text_of_ping("echo lost"));
}
