// What commands leave running, and its end.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_process.h"
#include "support/child_process.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"

namespace {

/* One more than the looks without a find that end a scope; far below what its patience allows on a busy
 * machine. */
constexpr unsigned kMoreLooksThanSuffice = 3;

class CommandScope : public FaultsTest {
  protected:
    /* Runs a command that leaves a process running and writes its number to "$PID". */
    pid_t leave(const std::string &command) {
        const std::string file = folder_.path("pid");
        EXPECT_EQ(0, os_system(("PID=" + file + "; " + command).c_str()));
        EXPECT_TRUE(wait_until([&file] { return file_text(file).find('\n') != std::string::npos; }))
            << command;
        const pid_t pid = atoi(file_text(file).c_str());
        EXPECT_GT(pid, 0) << command;
        EXPECT_FALSE(has_ended(pid)) << command;
        unlink(file.c_str());
        return pid;
    }

    /* For so many times a process shows nothing of these, as it does while it becomes another program. */
    static void hide(pid_t pid, const std::vector<std::string> &entries, unsigned times) {
        stand_in_for(pid, entries, times, 0, 0);
    }
    /* For so many times the environment of a process can't be read, for this reason. */
    static void refuse_environment(pid_t pid, int error, unsigned times) {
        stand_in_for(pid, {"environ"}, times, -1, error);
    }

    const TempFolder folder_;

  private:
    static void stand_in_for(pid_t pid, const std::vector<std::string> &entries, unsigned times,
                             ssize_t result, int error) {
        doubles::libc::read.stand_in([=, met = 0u](int fd, void *bytes, size_t size) mutable -> ssize_t {
            const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
            for (const std::string &entry : entries) {
                if (met < times && path == "/proc/" + std::to_string(pid) + "/" + entry) {
                    ++met;
                    errno = error;
                    return result;
                }
            }
            return doubles::libc::read.real(fd, bytes, size);
        });
    }
};

}  // namespace

TEST_F(CommandScope, EndsWhatACommandLeftInTheBackground) {
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsADetachedDaemonThatIgnoresSignals) {
    os_command_scope_open();
    const pid_t left = leave(
        "export PID; setsid sh -c 'trap \"\" HUP TERM; (echo $$ >$PID; cd /; sleep 1000; :)' "
        "</dev/null >/dev/null 2>&1 &");
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsATreeThatKeepsGrowing) {
    os_command_scope_open();
    const pid_t left = leave("(while :; do sleep 0.01 & sleep 0.01; done) & echo $! >$PID");
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsWhatAPipesCommandLeft) {
    os_command_scope_open();
    FILE *stream = os_popen("sleep 1000 >/dev/null & echo $!", "r");
    char text[16] = "";
    EXPECT_NE(nullptr, fgets(text, sizeof(text), stream));
    EXPECT_EQ(0, os_pclose(stream));
    EXPECT_FALSE(has_ended(atoi(text)));
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(atoi(text)));
}

TEST_F(CommandScope, FindsItsMarkInALargeEnvironment) {
    setenv("QUOR_TEST_PADDING", std::string(100'000, 'x').c_str(), 1);
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    unsetenv("QUOR_TEST_PADDING");
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsAProcessThatWasBecomingAnotherProgramAtTheFirstLook) {
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    hide(left, {"environ"}, 1);
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsAProcessThatBecomesAnotherProgramSlowly) {
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    hide(left, {"environ", "cmdline"}, kMoreLooksThanSuffice);
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, EndsAProcessWhoseEnvironmentCannotBeReadAtFirst) {
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    refuse_environment(left, EIO, kMoreLooksThanSuffice);
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_TRUE(has_ended(left));
}

TEST_F(CommandScope, AProcessOfAnotherUserIsNoneOfIt) {
    for (const int error : {EACCES, EPERM}) {
        os_command_scope_open();
        const pid_t left = leave("sleep 1000 & echo $! >$PID");
        refuse_environment(left, error, UINT_MAX);
        EXPECT_EQ(0, os_command_scope_close());
        doubles::restore_all();
        EXPECT_FALSE(has_ended(left));
        kill(left, SIGKILL);
    }
}

TEST_F(CommandScope, TouchesNothingOfOtherTimesAndThreads) {
    const pid_t before = leave("sleep 1000 & echo $! >$PID");
    os_command_scope_open();
    std::promise<pid_t> started;
    std::promise<void> checked;
    std::thread other_thread([this, &started, &checked] {
        os_command_scope_open();
        started.set_value(leave("sleep 1000 & echo $! >$PID"));
        checked.get_future().wait();
        EXPECT_EQ(0, os_command_scope_close());
    });
    const pid_t beside = started.get_future().get();
    EXPECT_EQ(0, os_command_scope_close());
    const pid_t after = leave("sleep 1000 & echo $! >$PID");
    EXPECT_EQ(0, os_command_scope_close());

    for (const pid_t other : {before, beside, after}) {
        EXPECT_FALSE(has_ended(other));
        kill(other, SIGKILL);
    }
    checked.set_value();
    other_thread.join();
}

TEST_F(CommandScope, ASecondOpeningBeginsAfresh) {
    os_command_scope_open();
    const pid_t first = leave("sleep 1000 & echo $! >$PID");
    os_command_scope_open();
    const pid_t second = leave("sleep 1000 & echo $! >$PID");
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_FALSE(has_ended(first));
    EXPECT_TRUE(has_ended(second));
    kill(first, SIGKILL);
}

TEST_F(CommandScope, CommandsOutsideOfAScopeCarryNoMark) {
    EXPECT_NE(0, os_system("env | grep -q ^QUOR_COMMAND_"));
    os_command_scope_open();
    EXPECT_EQ(0, os_system("env | grep -q ^QUOR_COMMAND_"));
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_NE(0, os_system("env | grep -q ^QUOR_COMMAND_"));
}

TEST_F(CommandScope, CommandsSeeTheModulesOwnEnvironment) {
    setenv("QUOR_TEST_WORD", "a b", 1);
    EXPECT_EQ(0, os_system("test \"$QUOR_TEST_WORD\" = 'a b'"));
    unsetenv("QUOR_TEST_WORD");
}

TEST_F(CommandScope, WithoutMemoryNoCommandIsStarted) {
    doubles::libc::calloc.fail(ENOMEM);
    EXPECT_EQ(-1, os_system("true"));
    EXPECT_EQ(ENOMEM, errno);
    EXPECT_EQ(0u, doubles::libc::posix_spawn.calls());
}

TEST_F(CommandScope, SaysSoWhenAProcessWillNotGo) {
    os_command_scope_open();
    const pid_t left = leave("sleep 1000 & echo $! >$PID");
    doubles::libc::kill.stand_in([](pid_t, int) { return 0; });
    doubles::libc::clock_gettime.stand_in([](clockid_t, timespec *now) {
        *now = {static_cast<time_t>(doubles::libc::clock_gettime.calls() / 5), 0};
        return 0;
    });
    EXPECT_EQ(-1, os_command_scope_close());
    doubles::restore_all();
    EXPECT_FALSE(has_ended(left));
    kill(left, SIGKILL);
}

TEST_F(CommandScope, SaysSoWhenNobodyCanLookForProcesses) {
    os_command_scope_open();
    EXPECT_EQ(0, os_system("true"));
    doubles::libc::clock_gettime.stand_in([](clockid_t, timespec *now) {
        *now = {static_cast<time_t>(doubles::libc::clock_gettime.calls() / 5), 0};
        return 0;
    });

    rlimit usual = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &usual));
    const int first_free = dup(STDERR_FILENO);
    close(first_free);
    rlimit none = usual;
    none.rlim_cur = static_cast<rlim_t>(first_free);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    const int32_t closed = os_command_scope_close();
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &usual));
    EXPECT_EQ(-1, closed);
}
