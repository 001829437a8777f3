/*
 * Commands whose starting thread has ended. The killed processes are children of the test.
 */
#include "os/command_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_process.h"
#include "support/child.h"
#include "support/child_process.h"
#include "support/log_daemon.h"
#include "support/wait_until.h"

namespace libc = doubles::libc;

namespace {

constexpr char kPid[] = "/m_data/usr/command_pid";
constexpr char kActed[] = "/m_data/usr/acted";
constexpr char kActedAgain[] = "/m_data/usr/acted_again";

class CommandGuardTest : public FaultsTest {
  protected:
    CommandGuardTest() { remove_files(); }
    ~CommandGuardTest() override { remove_files(); }

    /* The process whose number a command has written. */
    static pid_t noted_process() {
        EXPECT_TRUE(wait_until([] { return file_text(kPid).find('\n') != std::string::npos; }));
        const pid_t pid = std::atoi(file_text(kPid).c_str());
        EXPECT_GT(pid, 0);
        return pid;
    }

    static bool ends(pid_t pid) {
        return wait_until([pid] { return has_ended(pid); });
    }

    /* A process, the first of a group, that runs a command in a scope. first: what else it does, in a thread.
     */
    static pid_t start_asker(
        const char *command, const std::function<void()> &first = [] {}) {
        const pid_t asker = fork();
        if (asker == 0) {
            (void)setpgid(0, 0);
            std::thread other([&first] {
                (void)noted_process();
                first();
            });
            os_command_scope_open();
            os_system(command);
            other.join();
            _exit(1);
        }
        return asker;
    }

    static void kill_and_reap(pid_t pid) {
        EXPECT_EQ(0, kill(pid, SIGKILL));
        EXPECT_EQ(std::abs(pid), waitpid(std::abs(pid), nullptr, 0));
    }

    static bool has_children() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

  private:
    static void remove_files() {
        unlink(kPid);
        unlink(kActed);
        unlink(kActedAgain);
    }
};

/* The name and the descriptors of the guard's process when it acts, without the one that lists them.
 */
void note_guard() {
    char name[16] = "";
    prctl(PR_GET_NAME, name);
    std::string text = name;
    for (int fd = 0; fd < 256; ++fd) {
        text += fcntl(fd, F_GETFD) >= 0 ? " " + std::to_string(fd) : "";
    }
    (void)write_text(std::filesystem::exists(kActed) ? kActedAgain : kActed, text);
}

enum class Asker {
    kDismisses,
    kEnds,
    kHasEnded,
    kThreadHasEnded /* but the process lives, and its end of the socket is open */
};

pid_t thread_id() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

GuardAsker ids_of(Asker asker) {
    GuardAsker ids = {asker == Asker::kHasEnded ? 1 : getpid(), thread_id()};
    if (asker == Asker::kThreadHasEnded) {
        std::thread([&ids] { ids.thread = thread_id(); }).join();
    }
    return ids;
}

/* Ends the guard's wait for shells that start. */
void end_wait_for_shells() {
    libc::poll.stand_in([](pollfd *, nfds_t, int) { return std::filesystem::exists(kActed) ? 0 : -1; });
}

/* Does the guard's work in a separate process, whose asker does this. */
void guard_for(Asker asker) {
    int calls[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, calls));
    const bool is_open = asker == Asker::kHasEnded || asker == Asker::kThreadHasEnded;
    const GuardAsker ids = ids_of(asker);
    const pid_t guard = fork();
    if (guard == 0) {
        close(calls[0]);
        guard_commands(calls[1], ids, note_guard);
        child_detail::write_counters();
        _exit(0);
    }
    close(calls[1]);
    if (asker == Asker::kDismisses) {
        EXPECT_EQ(1, send(calls[0], "", 1, MSG_NOSIGNAL));
    }
    if (!is_open) {
        close(calls[0]);
    }
    EXPECT_EQ(guard, waitpid(guard, nullptr, 0));
    if (is_open) {
        close(calls[0]);
    }
}

}  // namespace

/* ---- The end of commands --------------------------------------------------------------------------- */

TEST_F(CommandGuardTest, ACommandEndsWithTheProcessThatIsKilled) {
    const pid_t asker = start_asker("echo $$ > /m_data/usr/command_pid; exec sleep 1000");
    const pid_t command = noted_process();
    kill_and_reap(asker);
    EXPECT_TRUE(ends(command));
}

TEST_F(CommandGuardTest, WhatACommandHasDetachedEndsToo) {
    const pid_t asker =
        start_asker("setsid sh -c 'echo $$ > /m_data/usr/command_pid; exec sleep 1000' & exec sleep 1000");
    const pid_t detached = noted_process();
    kill_and_reap(asker);
    EXPECT_TRUE(ends(detached));
}

TEST_F(CommandGuardTest, WhatACommandHasDetachedEndsWhereTheWholeGroupIsKilled) {
    const pid_t asker =
        start_asker("setsid sh -c 'echo $$ > /m_data/usr/command_pid; exec sleep 1000' & exec sleep 1000");
    const pid_t detached = noted_process();
    kill_and_reap(-asker);
    EXPECT_TRUE(ends(detached));
}

TEST_F(CommandGuardTest, OtherForksOfTheProcessDoNotHoldItUp) {
    const pid_t asker = start_asker("echo $$ > /m_data/usr/command_pid; exec sleep 1000", [] {
        const pid_t fork_of_the_module = fork();
        if (fork_of_the_module == 0) {
            for (int i = 0; i < 100000; ++i) {
                (void)usleep(10000);
                if (access(kActed, F_OK) == 0) {
                    _exit(0);
                }
            }
        }
        (void)write_text("/m_data/usr/fork_is_there", "");
    });
    const pid_t command = noted_process();
    EXPECT_TRUE(wait_until([] { return access("/m_data/usr/fork_is_there", F_OK) == 0; }));
    kill_and_reap(asker);
    EXPECT_TRUE(ends(command));
    (void)write_text(kActed, ""); /* lets the fork go */
    unlink("/m_data/usr/fork_is_there");
}

TEST_F(CommandGuardTest, ACommandEndsWithItsThread) {
    std::thread([] {
        os_command_scope_open();
        os_system("sleep 1000 & echo $! > /m_data/usr/command_pid");
    }).join();
    EXPECT_TRUE(ends(noted_process()));
    while (waitpid(-1, nullptr, 0) > 0) {
    }
}

TEST_F(CommandGuardTest, NothingIsLeftOnceTheScopeIsClosed) {
    os_command_scope_open();
    EXPECT_EQ(0, os_system("true"));
    EXPECT_TRUE(has_children());
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_FALSE(has_children());
}

TEST_F(CommandGuardTest, NothingIsLeftOfAScopeThatIsOpenedAfresh) {
    os_command_scope_open();
    EXPECT_EQ(0, os_system("true"));
    os_command_scope_open();
    EXPECT_FALSE(has_children());
    EXPECT_EQ(0, os_command_scope_close());
}

TEST_F(CommandGuardTest, AScopeWithoutACommandHasNone) {
    os_command_scope_open();
    EXPECT_FALSE(has_children());
    EXPECT_EQ(0, os_command_scope_close());
}

/* A kill of the whole group right after the start of a command must not end the guard. */
TEST_F(CommandGuardTest, ACommandStartsOnceTheGuardHasLeftTheGroup) {
    std::vector<int> ready;
    libc::poll.stand_in([&ready](pollfd *fds, nfds_t count, int limit) {
        ready.push_back(libc::poll.real(fds, count, limit));
        EXPECT_NE(0, access(kPid, F_OK)); /* the command has not run */
        return ready.back();
    });
    os_command_scope_open();
    EXPECT_EQ(0, os_system("echo $$ > /m_data/usr/command_pid"));
    EXPECT_EQ(std::vector<int>{1}, ready);
    EXPECT_EQ(0, os_command_scope_close());
}

/* ---- The guard's work ------------------------------------------------------------------------------ */

TEST_F(CommandGuardTest, ActsWhenItsAskerEndsUnderItsOwnNameWithoutTheModulesDescriptors) {
    guard_for(Asker::kEnds);
    EXPECT_EQ("quor-guard 0", file_text(kActed));
}

TEST_F(CommandGuardTest, ActsForAnAskerThatHadEndedBefore) {
    end_wait_for_shells();
    guard_for(Asker::kHasEnded);
    EXPECT_EQ("quor-guard 0", file_text(kActed));
}

/* On a busy machine a thread can end before its guard has asked the kernel for a signal. */
TEST_F(CommandGuardTest, ActsForAThreadThatHadEndedBeforeAndWhoseProcessLives) {
    end_wait_for_shells();
    guard_for(Asker::kThreadHasEnded);
    EXPECT_EQ("quor-guard 0", file_text(kActed));
}

/* A shell that is about to start has no mark yet, but a copy of the asker's socket. */
TEST_F(CommandGuardTest, ActsAgainOnceNoShellIsAboutToStart) {
    guard_for(Asker::kEnds);
    EXPECT_EQ("quor-guard 0", file_text(kActedAgain));
}

TEST_F(CommandGuardTest, WaitsForStartingShellsForASecond) {
    libc::poll.stand_in([](pollfd *fds, nfds_t, int limit) {
        (void)write_text(kActed, std::to_string(fds->fd) + " for " + std::to_string(limit));
        return 0;
    });
    guard_for(Asker::kThreadHasEnded);
    EXPECT_EQ("0 for 1000", file_text(kActed));
    EXPECT_EQ("quor-guard 0", file_text(kActedAgain));
}

/* The thread ends at the worst moment: the kernel has no one to signal yet, and the thread can still be seen.
 */
TEST_F(CommandGuardTest, LooksAgainWhetherItsAskerIsThere) {
    libc::ppoll.stand_in([](pollfd *, nfds_t, const timespec *, const sigset_t *) {
        libc::ppoll.restore();
        return 0;
    });
    guard_for(Asker::kEnds);
    EXPECT_EQ("quor-guard 0", file_text(kActed));
}

TEST_F(CommandGuardTest, DoesNotActWhenItIsDismissed) {
    guard_for(Asker::kDismisses);
    EXPECT_FALSE(std::filesystem::exists(kActed));
}

/* ---- Failures -------------------------------------------------------------------------------------- */

TEST_F(CommandGuardTest, WithoutAGuardACommandRunsAllTheSameAndThatIsLogged) {
    const LogDaemon daemon;
    libc::socketpair.fail(EMFILE);
    os_command_scope_open();
    EXPECT_EQ(0, os_system("true"));
    EXPECT_EQ(0, os_command_scope_close());
    libc::socketpair.restore();

    libc::fork.stand_in([] {
        errno = EAGAIN;
        return -1;
    });
    os_command_scope_open();
    EXPECT_EQ(0, os_system("true"));
    EXPECT_EQ(0, os_command_scope_close());
    libc::fork.restore();

    std::string log;
    for (const std::string &line : daemon.lines()) {
        log += line + "\n";
    }
    EXPECT_NE(std::string::npos, log.find("make a call to the guard of commands error! errno=24")) << log;
    EXPECT_NE(std::string::npos, log.find("start the guard of commands error! errno=11")) << log;
}
