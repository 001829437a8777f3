/*
 * The system log as its daemon sees it: real sockets, and daemons that stop, start late and restart.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_log.h"
#include "support/foreign_locale.h"
#include "support/log_daemon.h"
#include "support/threads.h"

namespace libc = doubles::libc;

namespace {

constexpr uint32_t kLocal7 = 14;
constexpr char kHead[] = R"(<188>[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d sockmod\[(\d+)\]: )";

void log(const std::string &text, int level = OS_LOG_WARNING) {
    os_trace_print(level, "f", "f", 1, "%s", text.c_str());
}

/* Lines that differ, so that none is folded. */
void log_many(int count) {
    for (int i = 0; i < count; ++i) {
        log("line " + std::to_string(i));
    }
}

/* A line without its head, and without what every line of this file has. */
std::string text_of(const std::string &line) {
    const std::string text = std::regex_replace(line, std::regex("^" + std::string(kHead)), "");
    return text.rfind("f f:1 ", 0) == 0 ? text.substr(6) : text;
}

using Texts = std::vector<std::string>;

Texts texts_of(const LogDaemon &daemon) {
    Texts texts;
    for (const std::string &line : daemon.lines()) {
        texts.push_back(text_of(line));
    }
    return texts;
}

std::string losses(long count) {
    return "lines that the system log did not take: " + std::to_string(count);
}

/* The descriptor that the log's socket has; -1 when it has none. */
int log_descriptor() {
    for (int fd = 0; fd < 256; ++fd) {
        sockaddr_un peer{};
        socklen_t size = sizeof(peer);
        if (getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &size) == 0 &&
            std::string(peer.sun_path) == kLogAddress.sun_path) {
            return fd;
        }
    }
    return -1;
}

/* The time that waits are measured by. It stands still, so that a slow machine makes no difference, and goes
 * on from test to test, which share the process. */
std::chrono::milliseconds g_now = std::chrono::hours(100'000);

class LogSocketTest : public FaultsTest {
  protected:
    /* Reports the lines that other tests could not log. */
    void SetUp() override {
        FaultsTest::SetUp();
        g_now += std::chrono::hours(1);
        libc::clock_gettime.stand_in([](clockid_t clock, timespec *now) {
            const int result = libc::clock_gettime.real(clock, now);
            if (clock == CLOCK_MONOTONIC) {
                *now = {static_cast<time_t>(g_now.count() / 1000),
                        static_cast<long>(g_now.count() % 1000) * 1'000'000};
            }
            return result;
        });
        os_log_init("sockmod", kLocal7);
        const LogDaemon daemon;
        log("first");
    }
};

}  // namespace

/* ---- Lines ----------------------------------------------------------------------------------------- */

TEST_F(LogSocketTest, ALineLooksAsSyslogSendsIt) {
    const LogDaemon daemon;
    syslog(LOG_WARNING, "%s", "f f:1 text"); /* takes name, process id and facility from os_log_init */
    log("text");
    const Texts lines = daemon.lines();
    ASSERT_EQ(2u, lines.size());
    const std::regex time(R"([A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d)");
    EXPECT_EQ(std::regex_replace(lines[0], time, "TIME"), std::regex_replace(lines[1], time, "TIME"));
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(std::string(kHead) + "f f:1 text"))) << lines[1];
    closelog();
    os_log_init("sockmod", kLocal7);
}

TEST_F(LogSocketTest, TheMonthIsEnglishWhateverTheModulesLocale) {
    const LogDaemon daemon;
    const ForeignLocale locale;
    log("text");
    const Texts lines = daemon.lines();
    ASSERT_EQ(1u, lines.size());
    const std::string month = lines[0].substr(lines[0].find('>') + 1, 3);
    EXPECT_NE(std::string::npos, std::string("Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec").find(month));
}

TEST_F(LogSocketTest, ALevelIsThePriorityInTheFacility) {
    const LogDaemon daemon;
    os_log_init("sockmod", 4);
    log("text", OS_LOG_VERBOSE);
    EXPECT_EQ("<31>", daemon.lines().at(0).substr(0, 4)); /* daemon, debug */
}

TEST_F(LogSocketTest, AControlCharacterOfTheNameStaysOnTheLine) {
    const LogDaemon daemon;
    os_log_init("two\nlines", kLocal7);
    log("text");
    EXPECT_NE(std::string::npos, daemon.lines().at(0).find(" two\\nlines["));
}

TEST_F(LogSocketTest, NamingTheProcessConnectsToNothing) {
    libc::socket.forget_calls();
    os_log_init("sockmod", kLocal7);
    EXPECT_EQ(0u, libc::socket.calls());
}

TEST_F(LogSocketTest, AChildHasItsOwnProcessIdAndNoneOfItsParentsLosses) {
    log("lost by the parent");
    const LogDaemon daemon;
    const pid_t child = fork();
    if (child == 0) {
        log("from the child");
        _exit(0);
    }
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
    const Texts lines = daemon.lines();
    ASSERT_EQ(1u, lines.size());
    EXPECT_NE(std::string::npos,
              lines[0].find("sockmod[" + std::to_string(child) + "]: f f:1 from the child"));
    log("from the parent");
    EXPECT_EQ((Texts{losses(1), "from the parent"}), texts_of(daemon));
}

TEST_F(LogSocketTest, AChildThatLosesLinesCountsThemAlone) {
    log_many(5);
    const pid_t child = fork();
    if (child == 0) {
        log("lost");
        const LogDaemon daemon;
        log("taken");
        _exit(texts_of(daemon) == Texts{losses(1), "taken"} ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

/* ---- A daemon that stops --------------------------------------------------------------------------- */

TEST_F(LogSocketTest, AStoppedDaemonHoldsNobodyUp) {
    const LogDaemon daemon;
    run_in_threads(4, [](size_t) { log_many(500); });
    EXPECT_LT(daemon.lines().size(), 2000u);
}

TEST_F(LogSocketTest, AStoppedDaemonIsWaitedForOnceUntilItTakesALineAgain) {
    const LogDaemon daemon;
    log_many(1000);
    EXPECT_EQ(1u, libc::poll.calls());
    (void)daemon.lines();
    log("it takes lines again");
    log_many(1000);
    EXPECT_EQ(2u, libc::poll.calls());
}

TEST_F(LogSocketTest, WhatAStoppedDaemonDidNotTakeIsCountedOnceItTakesLinesAgain) {
    const LogDaemon daemon;
    log_many(1000);
    const size_t taken = daemon.lines().size();
    ASSERT_LT(taken, 1000u);
    log("it takes lines again");
    EXPECT_EQ((Texts{losses(1000 - static_cast<long>(taken)), "it takes lines again"}), texts_of(daemon));
    log("the next");
    EXPECT_EQ(Texts{"the next"}, texts_of(daemon));
}

namespace {

/* A daemon that reads all lines whenever somebody waits for it, which takes it so long. */
class SlowDaemon {
  public:
    explicit SlowDaemon(std::chrono::milliseconds pause) {
        libc::poll.stand_in([this, pause](pollfd *fds, nfds_t count, int limit) {
            waited_ += std::min(pause, std::chrono::milliseconds(limit));
            pass(std::min(pause, std::chrono::milliseconds(limit)));
            if (pause.count() > limit) {
                return 0;
            }
            (void)read();
            return libc::poll.real(fds, count, limit);
        });
    }

    static void pass(std::chrono::milliseconds time) { g_now += time; }

    size_t read() {
        for (const std::string &text : texts_of(daemon_)) {
            lines_ += text.find("line ") == 0 ? 1 : 0;
        }
        return lines_;
    }

    std::chrono::milliseconds waited() const { return waited_; }

  private:
    const LogDaemon daemon_;
    size_t lines_ = 0;
    std::chrono::milliseconds waited_{0};
};

}  // namespace

/* The line is written to its end, and the next line of another thread finds the lock free. */
TEST_F(LogSocketTest, AThreadThatIsCancelledWhileItLogsFreezesNobody) {
    const LogDaemon daemon;
    libc::sendmsg.stand_in([](int fd, const msghdr *message, int flags) -> ssize_t {
        libc::sendmsg.restore();
        (void)pthread_cancel(pthread_self());
        pthread_testcancel();
        return libc::sendmsg.real(fd, message, flags);
    });
    pthread_t thread{};
    ASSERT_EQ(0, pthread_create(
                     &thread, nullptr,
                     [](void *) -> void * {
                         log("cancelled");
                         pthread_testcancel();
                         log("not reached");
                         return nullptr;
                     },
                     nullptr));
    void *end = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &end));
    EXPECT_EQ(PTHREAD_CANCELED, end);
    log("the next");
    EXPECT_EQ((Texts{"cancelled", "the next"}), texts_of(daemon));
}

TEST_F(LogSocketTest, ADaemonThatIsBusyLosesNothing) {
    SlowDaemon daemon(std::chrono::milliseconds(1));
    log_many(1000);
    EXPECT_EQ(1000u, daemon.read());
}

TEST_F(LogSocketTest, ASlowDaemonHoldsAllLinesUpForASecondAndATenthOfTheTime) {
    using std::chrono::milliseconds;
    SlowDaemon daemon(milliseconds(90));
    log_many(1000);
    EXPECT_GT(daemon.waited(), milliseconds(900));
    EXPECT_LE(daemon.waited(), milliseconds(1000 * 10 / 9)); /* a tenth of the wait itself comes back */
    const milliseconds before = daemon.waited();
    daemon.pass(milliseconds(2000));
    log_many(1000);
    EXPECT_GT(daemon.waited(), before);
    EXPECT_LE(daemon.waited(), before + milliseconds(2000 / 10 * 10 / 9));
}

TEST_F(LogSocketTest, ASignalEndsTheWaitButNotTheNextOne) {
    const LogDaemon daemon;
    libc::poll.fail(EINTR);
    log_many(1000);
    EXPECT_GT(libc::poll.calls(), 1u);
}

/* ---- A daemon that comes and goes ------------------------------------------------------------------ */

TEST_F(LogSocketTest, ADaemonThatComesLateIsToldHowMuchItMissed) {
    log_many(3);
    const LogDaemon daemon;
    log("text");
    EXPECT_EQ((Texts{losses(3), "text"}), texts_of(daemon));
}

TEST_F(LogSocketTest, ADaemonThatWasStartedAnewGetsTheNextLine) {
    {
        const LogDaemon daemon;
        log("to the first");
        EXPECT_EQ(Texts{"to the first"}, texts_of(daemon));
    }
    const LogDaemon daemon;
    log("to the second");
    EXPECT_EQ(Texts{"to the second"}, texts_of(daemon));
}

TEST_F(LogSocketTest, WithoutADescriptorALineIsCounted) {
    const LogDaemon daemon;
    libc::socket.fail(EMFILE);
    log("lost");
    libc::socket.restore();
    log("text");
    EXPECT_EQ((Texts{losses(1), "text"}), texts_of(daemon));
}

TEST_F(LogSocketTest, LossesAreToldWhenTheProcessEnds) {
    int lost[2];
    int go_on[2];
    ASSERT_EQ(0, pipe2(lost, O_CLOEXEC));
    ASSERT_EQ(0, pipe2(go_on, O_CLOEXEC));
    const pid_t child = fork();
    if (child == 0) {
        char byte = 0;
        log("lost");
        (void)!write(lost[1], &byte, 1);
        (void)!read(go_on[0], &byte, 1);
        std::exit(0);
    }
    char byte = 0;
    ASSERT_EQ(1, read(lost[0], &byte, 1));
    const LogDaemon daemon;
    ASSERT_EQ(1, write(go_on[1], &byte, 1));
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
    EXPECT_EQ(Texts{losses(1)}, texts_of(daemon));
    for (const int fd : {lost[0], lost[1], go_on[0], go_on[1]}) {
        close(fd);
    }
}

/* ---- A daemon of streams --------------------------------------------------------------------------- */

TEST_F(LogSocketTest, ADaemonThatTakesStreamsGetsLinesThatEndInANul) {
    LogDaemon daemon(SOCK_STREAM);
    log("one");
    log("two");
    const std::regex form(std::string(kHead) + "f f:1 one\n" + kHead + "f f:1 two\n");
    const std::string stream = daemon.stream();
    EXPECT_TRUE(std::regex_match(stream, form)) << stream;
}

TEST_F(LogSocketTest, AStoppedDaemonOfStreamsHoldsNobodyUp) {
    LogDaemon daemon(SOCK_STREAM);
    log_many(5000);
    EXPECT_NE("", daemon.stream());
}

TEST_F(LogSocketTest, ADaemonOfStreamsThatWasStartedAnewGetsTheNextLine) {
    {
        LogDaemon daemon(SOCK_STREAM);
        log("to the first");
        EXPECT_EQ("to the first\n", text_of(daemon.stream()));
    }
    LogDaemon daemon(SOCK_STREAM);
    log("to the second");
    EXPECT_EQ("to the second\n", text_of(daemon.stream()));
}

TEST_F(LogSocketTest, APieceOfALineEndsTheConnectionAndTheLineGoesOverANewOne) {
    LogDaemon daemon(SOCK_STREAM);
    log("before");
    libc::sendmsg.stand_in([](int fd, const msghdr *message, int flags) -> ssize_t {
        libc::sendmsg.restore();
        iovec piece = {message->msg_iov[0].iov_base, 4};
        msghdr part{};
        part.msg_iov = &piece;
        part.msg_iovlen = 1;
        return libc::sendmsg.real(fd, &part, flags);
    });
    log("whole");
    EXPECT_EQ("before\n<188", text_of(daemon.stream()));
    daemon.take_next_connection();
    EXPECT_EQ("whole\n", text_of(daemon.stream()));
}

/* ---- Descriptors ----------------------------------------------------------------------------------- */

TEST_F(LogSocketTest, TheSocketLeavesTheStandardDescriptorsFree) {
    const LogDaemon daemon;
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    log("text");
    EXPECT_EQ(-1, fcntl(STDIN_FILENO, F_GETFD));
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_EQ(Texts{"text"}, texts_of(daemon));
}

TEST_F(LogSocketTest, TheSocketIsClosedOnExec) {
    const LogDaemon daemon;
    log("text");
    EXPECT_EQ(FD_CLOEXEC, fcntl(log_descriptor(), F_GETFD));
}

TEST_F(LogSocketTest, AFileThatTookTheSocketsDescriptorIsLeftAlone) {
    const LogDaemon daemon;
    log("before");
    const int fd = log_descriptor();
    ASSERT_GE(fd, 0);
    const char path[] = "/tmp/m_tmp/of_the_module";
    const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(fd, dup2(file, fd));
    close(file);

    log("after");
    EXPECT_EQ((Texts{"before", "after"}), texts_of(daemon));
    struct stat info = {};
    EXPECT_EQ(0, fstat(fd, &info));
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(0, info.st_size);
    close(fd);
    unlink(path);
}

TEST_F(LogSocketTest, ASocketThatTheModuleClosedIsMadeAnew) {
    const LogDaemon daemon;
    log("before");
    close(log_descriptor());
    log("after");
    EXPECT_EQ((Texts{"before", "after"}), texts_of(daemon));
}
