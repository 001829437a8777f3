#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "os_log.h"
#include "support/threads.h"
#include "unit/base/log_channels_fixture.h"

namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

constexpr int kShown = 10;

class OsLogFold : public LogChannelsTest {
  protected:
    void SetUp() override {
        LogChannelsTest::SetUp();
        doubles::libc::clock_gettime.stand_in([this](clockid_t clock, timespec *now) {
            if (clock != CLOCK_MONOTONIC) {
                return doubles::libc::clock_gettime.real(clock, now);
            }
            *now = {static_cast<time_t>(now_.count() / 1000),
                    static_cast<long>(now_.count() % 1000) * 1000000};
            return 0;
        });
    }

    /* The texts passed to the system log, without file, function and line. */
    Texts texts() const {
        Texts found;
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

    Texts texts_after(size_t count) const {
        const Texts all = texts();
        return Texts(all.begin() + static_cast<long>(count), all.end());
    }

    void after(std::chrono::milliseconds time) { now_ += time; }

  private:
    std::chrono::milliseconds now_{1000000};
};

/* A line that was written as often as it is within a second, and what came afterwards. */
Texts ten_times(const char *text, const Texts &afterwards = {}) {
    Texts all(kShown, text);
    all.insert(all.end(), afterwards.begin(), afterwards.end());
    return all;
}

}  // namespace

TEST_F(OsLogFold, WritesTenIdenticalLinesASecondAsTheyCome) {
    log("a", kShown);
    EXPECT_EQ(ten_times("a"), texts());
}

TEST_F(OsLogFold, HidesNoSecondFailure) {
    log("a");
    after(100ms);
    log("a");
    log("b");
    EXPECT_EQ((Texts{"a", "a", "b"}), texts());
}

TEST_F(OsLogFold, CountsAStormUntilAnotherLineComes) {
    log("a", kShown + 3);
    EXPECT_EQ(ten_times("a"), texts());
    log("b");
    EXPECT_EQ(ten_times("a", {"last message repeated 3 times", "b"}), texts());
}

TEST_F(OsLogFold, CountsASingleRepeat) {
    log("a", kShown + 1);
    log("b");
    EXPECT_EQ(ten_times("a", {"last message repeated 1 time", "b"}), texts());
}

TEST_F(OsLogFold, WritesEveryLineThatComesTenTimesASecondOrLess) {
    for (int i = 0; i < 100; ++i) {
        log("a");
        after(100ms);
    }
    EXPECT_EQ(Texts(100, "a"), texts());
}

TEST_F(OsLogFold, WritesALineAgainOnceTheStormIsOver) {
    log("a", kShown + 5);
    after(1000ms);
    log("a");
    EXPECT_EQ(ten_times("a", {"last message repeated 5 times", "a"}), texts());
}

TEST_F(OsLogFold, NeverWritesMoreThanTenWithinASecondWhereverItBegins) {
    log("a", 5);
    after(999ms);
    log("a", 6);
    EXPECT_EQ(ten_times("a"), texts());
    after(1ms);
    log("b");
    EXPECT_EQ(ten_times("a", {"last message repeated 1 time", "b"}), texts());
}

TEST_F(OsLogFold, FoldsLinesThatTakeTurns) {
    for (int i = 0; i < kShown + 1000; ++i) {
        log("a");
        log("b");
    }
    const Texts found = texts();
    EXPECT_EQ(static_cast<size_t>(2 * kShown) + 6, found.size());
    EXPECT_EQ("message repeated 1000 times: f f:1 a", found[found.size() - 2]);
    EXPECT_EQ("message repeated 1000 times: f f:1 b", found.back());
}

TEST_F(OsLogFold, TellsTheCountsOfLinesThatTookTurnsWhenANewLineComes) {
    for (int i = 0; i < kShown + 3; ++i) {
        log("a");
        log("b");
    }
    const size_t before = texts().size();
    log("c");
    EXPECT_EQ((Texts{"message repeated 3 times: f f:1 a", "message repeated 3 times: f f:1 b", "c"}),
              texts_after(before));
}

TEST_F(OsLogFold, AnotherLineDoesNotLetAStormThrough) {
    log("b");
    for (int i = 0; i < 5; ++i) {
        log("a", kShown);
        log("b");
    }
    const Texts found = texts();
    EXPECT_EQ(kShown, std::count(found.begin(), found.end(), "a"));
    EXPECT_EQ(6, std::count(found.begin(), found.end(), "b"));
}

TEST_F(OsLogFold, ShowsTheCountOfAPassedStormBeforeTheNextLine) {
    log("b");
    log("a", kShown + 3);
    const size_t before = texts().size();
    log("b");
    EXPECT_EQ((Texts{"last message repeated 3 times", "b"}), texts_after(before));
}

TEST_F(OsLogFold, KnowsSoManyLinesAndForgetsTheOneThatCameLongestAgo) {
    const auto turn = [](char last) {
        for (char name = 'a'; name <= last; ++name) {
            log(std::string(1, name).c_str());
        }
    };
    for (int i = 0; i < kShown + 1; ++i) {
        after(1ms);
        turn('h');
    }
    EXPECT_EQ(static_cast<size_t>(8 * kShown), texts().size());
    after(1ms);
    log("new");
    const size_t before = texts().size();
    log("b");
    EXPECT_EQ(before, texts().size());
    log("a");
    EXPECT_EQ("a", texts().back());
}

TEST_F(OsLogFold, ShowsTheBeginningOfALongLine) {
    const std::string text(300, 'x');
    for (int i = 0; i < kShown + 1; ++i) {
        log(text.c_str());
        log("b");
    }
    const size_t before = texts().size();
    log("c");
    EXPECT_EQ((Texts{"message repeated 1 time: f f:1 " + text.substr(0, 154),
                     "message repeated 1 time: f f:1 b", "c"}),
              texts_after(before));
}

TEST_F(OsLogFold, ShowsAnEndlessStormNowAndThen) {
    log("a", kShown + 1000);
    EXPECT_EQ(ten_times("a", {"last message repeated 10 times", "last message repeated 100 times",
                              "last message repeated 1000 times"}),
              texts());
}

TEST_F(OsLogFold, DoesNotTellTheSameCountTwice) {
    log("a", kShown + 10);
    log("b");
    EXPECT_EQ(ten_times("a", {"last message repeated 10 times", "b"}), texts());
}

TEST_F(OsLogFold, ShowsASlowStormOnceAMinute) {
    for (int i = 0; i < 20 * 60; ++i) {
        log("a");
        after(50ms);
    }
    const Texts found = texts();
    ASSERT_EQ(static_cast<size_t>(kShown) + 3, found.size());
    EXPECT_EQ("last message repeated 1000 times", found.back());

    /* The thousandth came after 50 seconds. */
    for (int i = 0; i < 20 * 60; ++i) {
        log("a");
        after(50ms);
    }
    EXPECT_EQ((Texts{"last message repeated 2200 times"}), texts_after(found.size()));
}

TEST_F(OsLogFold, CountsAfreshForEachLine) {
    log("a", kShown + 2);
    log("b", kShown + 2);
    log("c");
    const Texts found = texts();
    EXPECT_EQ(static_cast<size_t>(2 * kShown) + 3, found.size());
    EXPECT_EQ(2, std::count(found.begin(), found.end(), "last message repeated 2 times"));
}

TEST_F(OsLogFold, TellsApartLevelFileFunctionAndLine) {
    for (int i = 0; i < kShown; ++i) {
        os_trace_print(OS_LOG_WARNING, "f", "f", 1, "a");
    }
    os_trace_print(OS_LOG_DEBUG, "f", "f", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "f", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "g", 1, "a");
    os_trace_print(OS_LOG_DEBUG, "g", "g", 2, "a");
    EXPECT_EQ(static_cast<size_t>(kShown) + 4, system_messages().size());
}

TEST_F(OsLogFold, GivesTheCountTheLevelOfItsLine) {
    log("a", kShown + 1, OS_LOG_DEBUG);
    log("b", 1, OS_LOG_WARNING);
    ASSERT_EQ(static_cast<size_t>(kShown) + 2, system_messages().size());
    EXPECT_EQ(OS_LOG_DEBUG, system_messages()[kShown].first);
}

TEST_F(OsLogFold, FoldsEachChannelForItself) {
    log("a", kShown);
    for (int i = 0; i < kShown + 1; ++i) {
        os_debug_print(OS_LOG_WARNING, "f", "f", 1, "a");
    }
    log("b");
    os_debug_print(OS_LOG_WARNING, "f", "f", 1, "c");
    EXPECT_EQ(ten_times("a", {"b"}), texts());
    ASSERT_EQ(static_cast<size_t>(kShown) + 2, debug_lines().size());
    EXPECT_NE(std::string::npos,
              debug_lines()[kShown].find(" warning testmod last message repeated 1 time\n"));
}

TEST_F(OsLogFold, TellsItsCountBeforeTheProcessIsNamedAnew) {
    log("a", kShown + 2);
    os_log_init("another", 3);
    log("a");
    EXPECT_EQ(ten_times("a", {"last message repeated 2 times", "a"}), texts());
}

TEST_F(OsLogFold, LosesNoRepeatOfManyThreads) {
    run_in_threads(8, [](size_t) { log("a", 200); });
    log("b");
    const Texts found = texts();
    ASSERT_EQ(static_cast<size_t>(kShown) + 5, found.size());
    EXPECT_EQ("last message repeated 1590 times", found[kShown + 3]);
}

namespace {

/* Processes of their own, whose debug channel is their standard error. */
class OsLogFoldDeathTest : public FaultsTest {
  protected:
    /* No time passes, however slow the machine is. */
    void SetUp() override {
        FaultsTest::SetUp();
        doubles::libc::clock_gettime.stand_in([](clockid_t, timespec *now) {
            *now = {1000, 0};
            return 0;
        });
    }

    static void say(const char *text, int times) {
        for (int i = 0; i < times; ++i) {
            os_debug_print(OS_LOG_WARNING, "f", "f", 1, "%s", text);
        }
    }
};

}  // namespace

TEST_F(OsLogFoldDeathTest, TellsItsCountWhenTheProcessEnds) {
    const auto end = [] {
        say("a", kShown + 3);
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "f:1 a\n[^\n]*last message repeated 3 times\n$");
}

TEST_F(OsLogFoldDeathTest, TellsNoCountTwiceWhenTheProcessEnds) {
    const auto end = [] {
        say("a", kShown + 10);
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "f:1 a\n[^\n]*last message repeated 10 times\n$");
}

TEST_F(OsLogFoldDeathTest, AForkedChildDoesNotTellItsParentsCount) {
    const auto end = [] {
        say("a", kShown + 3);
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

TEST_F(OsLogFoldDeathTest, AForkedChildThatGoesOnCountsItsOwn) {
    const auto end = [] {
        say("a", kShown + 3);
        const pid_t child = fork();
        if (child == 0) {
            say("a", 2);
            say("b", 1);
            std::_Exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        std::_Exit(status);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0),
                "f:1 a\n[^\n]*last message repeated 2 times\n[^\n]*f:1 b\n$");
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
