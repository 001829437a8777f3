#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <thread>

#include "os_log.h"
#include "unit/base/log_channels_fixture.h"

namespace {

class OsLogFold : public LogChannelsTest {
  protected:
    void SetUp() override {
        LogChannelsTest::SetUp();
        doubles::libc::clock_gettime.stand_in([this](clockid_t clock, timespec *now) {
            if (clock != CLOCK_MONOTONIC) {
                return doubles::libc::clock_gettime.real(clock, now);
            }
            *now = {now_, 0};
            return 0;
        });
    }

    /* What the system log was handed, without file, function and line. */
    std::vector<std::string> texts() const {
        std::vector<std::string> found;
        for (const SystemMessage &message : system_messages()) {
            const std::string mark = "f f:1 ";
            found.push_back(message.second.rfind(mark, 0) == 0 ? message.second.substr(mark.size())
                                                               : message.second);
        }
        return found;
    }

    static void log(const char *text, int times = 1, int level = OS_LOG_WARNING) {
        for (int i = 0; i < times; ++i) {
            os_trace_print(level, "f", "f", 1, "%s", text);
        }
    }

    time_t now_ = 1000;
};

using Texts = std::vector<std::string>;

}  // namespace

TEST_F(OsLogFold, CountsIdenticalLinesUntilAnotherComes) {
    log("a", 4);
    EXPECT_EQ((Texts{"a"}), texts());
    log("b");
    EXPECT_EQ((Texts{"a", "last message repeated 3 times", "b"}), texts());
}

TEST_F(OsLogFold, CountsASingleRepeat) {
    log("a", 2);
    log("b");
    EXPECT_EQ((Texts{"a", "last message repeated 1 time", "b"}), texts());
}

TEST_F(OsLogFold, LeavesLinesAloneThatTakeTurns) {
    log("a");
    log("b");
    log("a");
    EXPECT_EQ((Texts{"a", "b", "a"}), texts());
}

TEST_F(OsLogFold, ShowsAnEndlessRepetitionNowAndThen) {
    log("a", 1 + 1000);
    EXPECT_EQ((Texts{"a", "last message repeated 10 times", "last message repeated 100 times",
                     "last message repeated 1000 times"}),
              texts());
}

TEST_F(OsLogFold, DoesNotTellTheSameCountTwice) {
    log("a", 1 + 10);
    log("b");
    EXPECT_EQ((Texts{"a", "last message repeated 10 times", "b"}), texts());
}

TEST_F(OsLogFold, ShowsASlowRepetitionOnceAMinute) {
    log("a");
    now_ += 59;
    log("a");
    EXPECT_EQ((Texts{"a"}), texts());
    now_ += 1;
    log("a");
    EXPECT_EQ((Texts{"a", "last message repeated 2 times"}), texts());
    now_ += 59;
    log("a");
    EXPECT_EQ(2u, texts().size());
    now_ += 1;
    log("a");
    EXPECT_EQ((Texts{"a", "last message repeated 2 times", "last message repeated 4 times"}), texts());
}

TEST_F(OsLogFold, CountsAfreshForEachLine) {
    log("a", 3);
    log("b", 3);
    log("a");
    EXPECT_EQ((Texts{"a", "last message repeated 2 times", "b", "last message repeated 2 times", "a"}),
              texts());
}

TEST_F(OsLogFold, TellsApartLevelFileFunctionAndLine) {
    os_trace_print(OS_LOG_WARNING, "f", "f", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "f", "f", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "f", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "g", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "g", 2, "a");
    EXPECT_EQ(5u, system_messages().size());
}

TEST_F(OsLogFold, GivesTheCountTheLevelOfItsLine) {
    log("a", 2, OS_LOG_DEBUG);
    log("b", 1, OS_LOG_WARNING);
    ASSERT_EQ(3u, system_messages().size());
    EXPECT_EQ(OS_LOG_DEBUG, system_messages()[1].first);
}

TEST_F(OsLogFold, FoldsEachChannelForItself) {
    os_debug_print(OS_LOG_WARNING, "f", "f", 1, "a");
    log("a");
    os_debug_print(OS_LOG_WARNING, "f", "f", 1, "a");
    log("b");
    os_debug_print(OS_LOG_WARNING, "f", "f", 1, "c");
    EXPECT_EQ((Texts{"a", "b"}), texts());
    ASSERT_EQ(3u, debug_lines().size());
    EXPECT_NE(std::string::npos, debug_lines()[1].find(" warning testmod last message repeated 1 time\n"));
}

TEST_F(OsLogFold, TellsItsCountBeforeTheProcessIsNamedAnew) {
    log("a", 3);
    os_log_init("another", 3);
    log("a");
    EXPECT_EQ((Texts{"a", "last message repeated 2 times", "a"}), texts());
}

TEST_F(OsLogFold, LosesNoRepeatOfManyThreads) {
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { log("a", 200); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    log("b");
    const Texts found = texts();
    ASSERT_EQ(6u, found.size());
    EXPECT_EQ("last message repeated 1599 times", found[4]);
}

namespace {

/* Processes of their own, whose debug channel is their standard error. */
class OsLogFoldDeathTest : public FaultsTest {
  protected:
    static void say(const char *text, int times) {
        for (int i = 0; i < times; ++i) {
            os_debug_print(OS_LOG_WARNING, "f", "f", 1, "%s", text);
        }
    }
};

}  // namespace

TEST_F(OsLogFoldDeathTest, TellsItsCountWhenTheProcessEnds) {
    const auto end = [] {
        say("a", 4);
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "f:1 a\n.*last message repeated 3 times\n$");
}

TEST_F(OsLogFoldDeathTest, TellsNoCountTwiceWhenTheProcessEnds) {
    const auto end = [] {
        say("a", 11);
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "f:1 a\n[^\n]*last message repeated 10 times\n$");
}

TEST_F(OsLogFoldDeathTest, AForkedChildDoesNotTellItsParentsCount) {
    const auto end = [] {
        say("a", 4);
        const pid_t child = fork();
        if (child == 0) {
            std::exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        say("b", 1);
        std::_Exit(status);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0),
                "f:1 a\n[^\n]*last message repeated 3 times\n[^\n]*f:1 b\n$");
}

TEST_F(OsLogFoldDeathTest, AThreadThatEndsInTheMiddleOfALineDoesNotKeepTheProcess) {
    const auto end = [] {
        doubles::libc::write.stand_in([](int, const void *, size_t) -> ssize_t {
            doubles::libc::write.restore();
            std::exit(0);
        });
        say("a", 1);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "^$");
}
