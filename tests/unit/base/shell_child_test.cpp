// The signals of a command don't depend on those of the module.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include "os_process.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"
#include "unit/base/command_output.h"

namespace {

/* Sets the action of a signal until the end of the scope. */
class SignalAction {
  public:
    SignalAction(int number, sighandler_t handler) : number_(number), before_(signal(number, handler)) {}
    ~SignalAction() { (void)signal(number_, before_); }
    SignalAction(const SignalAction &) = delete;
    SignalAction &operator=(const SignalAction &) = delete;

  private:
    const int number_;
    const sighandler_t before_;
};

/* Blocks a signal in this thread until the end of the scope. */
class BlockedSignal {
  public:
    explicit BlockedSignal(int number) {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, number);
        pthread_sigmask(SIG_BLOCK, &set, &before_);
    }
    ~BlockedSignal() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignal(const BlockedSignal &) = delete;
    BlockedSignal &operator=(const BlockedSignal &) = delete;

  private:
    sigset_t before_;
};

/* SIGPIPE is ignored and blocked, as in every module. */
struct ShellChild : testing::Test {
    const SignalAction ignored{SIGPIPE, SIG_IGN};
    const BlockedSignal blocked{SIGPIPE};
};

/* The numbered signals of a line of /proc/self/status, as a command sees its own: signal N is bit N - 1. */
unsigned long shell_signals(const char *line) {
    const std::string text =
        output_of(std::string("sed -n 's/^") + line + ":[[:blank:]]*//p' /proc/self/status");
    return strtoul(text.substr(text.size() - 9).c_str(), nullptr, 16) & 0x7fffffff;
}

bool ignores(int number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

TEST_F(ShellChild, AnEndlessCommandEndsWithItsReader) {
    FILE *stream = os_popen("while :; do echo x; done", "r");
    ASSERT_NE(nullptr, stream);
    char text[2] = "";
    EXPECT_EQ(2u, fread(text, 1, sizeof(text), stream));

    const int status = os_pclose(stream);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGPIPE, WTERMSIG(status));
}

TEST_F(ShellChild, ACommandOfOsSystemDiesOfABrokenPipeToo) {
    const int status = os_system("kill -PIPE $$");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGPIPE, WTERMSIG(status));
}

TEST_F(ShellChild, ACommandStartsWithNoSignalBlockedOrIgnored) {
    const SignalAction child_ignored(SIGCHLD, SIG_DFL);
    const SignalAction hangup_ignored(SIGHUP, SIG_IGN);
    const BlockedSignal terminate_blocked(SIGTERM);
    EXPECT_EQ(0u, shell_signals("SigBlk"));
    EXPECT_EQ(0u, shell_signals("SigIgn"));
}

TEST_F(ShellChild, TheModulesOwnSignalsStayAsTheyAre) {
    EXPECT_EQ(0, os_system("true"));
    EXPECT_TRUE(ignores(SIGPIPE));
    EXPECT_FALSE(ignores(SIGINT));
    EXPECT_FALSE(ignores(SIGQUIT));
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(1, sigismember(&mask, SIGPIPE));
    EXPECT_EQ(0, sigismember(&mask, SIGCHLD));
}

TEST_F(ShellChild, AnIgnoredInterruptStaysIgnoredInTheCommand) {
    const SignalAction interrupt_ignored(SIGINT, SIG_IGN);
    EXPECT_EQ(1u << (SIGINT - 1), shell_signals("SigIgn"));
    EXPECT_EQ(0, os_system("kill -INT $$"));
}

TEST_F(ShellChild, AnInterruptIsTheForegroundCommandsAlone) {
    const int status = os_system("kill -INT $PPID; kill -QUIT $PPID; kill -INT $$");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGINT, WTERMSIG(status));
    EXPECT_FALSE(ignores(SIGINT));
}

TEST_F(ShellChild, AnInterruptStaysIgnoredUntilTheLastForegroundCommandEnds) {
    const TempFolder folder;
    const std::string gate = folder.path("gate");
    std::thread longer([&gate] { os_system(("until test -e " + gate + "; do sleep 0.01; done").c_str()); });
    EXPECT_TRUE(wait_until([] { return ignores(SIGINT); }));

    EXPECT_EQ(0, os_system("true"));
    EXPECT_TRUE(ignores(SIGINT));
    EXPECT_EQ(0u, shell_signals("SigIgn"));

    EXPECT_TRUE(write_text(gate, ""));
    longer.join();
    EXPECT_FALSE(ignores(SIGINT));
}

TEST_F(ShellChild, WithIgnoredChildrenACommandIsAwaitedAndItsStatusUnknown) {
    const SignalAction children_ignored(SIGCHLD, SIG_IGN);
    const TempFolder folder;
    const std::string done = folder.path("done");
    EXPECT_EQ(-1, os_system(("sleep 0.1; touch " + done).c_str()));
    EXPECT_EQ(ECHILD, errno);
    EXPECT_EQ(0, access(done.c_str(), F_OK));

    FILE *stream = os_popen("echo out; sleep 0.1", "r");
    ASSERT_NE(nullptr, stream);
    char text[8] = "";
    EXPECT_STREQ("out\n", fgets(text, sizeof(text), stream));
    errno = 0;
    EXPECT_EQ(-1, os_pclose(stream));
    EXPECT_EQ(ECHILD, errno);
}

TEST_F(ShellChild, WithIgnoredChildrenAShellStillAwaitsItsOwn) {
    const SignalAction children_ignored(SIGCHLD, SIG_IGN);
    FILE *stream = os_popen("(exit 3); echo $?; sh -c 'exit 4' & wait $!; echo $?", "r");
    ASSERT_NE(nullptr, stream);
    char text[8] = "";
    EXPECT_EQ(4u, fread(text, 1, sizeof(text), stream));
    EXPECT_STREQ("3\n4\n", text);
    os_pclose(stream);
}
