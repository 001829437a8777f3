/*
 * The fault procedure itself: it detects functions that misbehave.
 */
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "faults/scenario.h"
#include "os_log.h"
#include "os_mem.h"

namespace faults {

namespace {

constexpr char kPath[] = "/tmp/m_tmp/wrong";
bool g_written = false;
bool g_told = false; /* an output of the call */

enum class Wrong {
    kNothing,
    kSilent,
    kLeaks,
    kUnknownResult,
    kHidesIt,
    kTellsABitOfIt,
    kLeavesItsFile
};

long fail(Wrong wrong) {
    if (wrong != Wrong::kSilent) {
        OS_LOG(OS_LOG_WARNING, "can't write");
    }
    return wrong == Wrong::kUnknownResult ? 5 : -1;
}

/* Writes a byte to a file, wrong in one way when that fails. */
long write_file(Wrong wrong) {
    g_written = false;
    g_told = false;
    const int fd = ::open(kPath, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return fail(wrong);
    }
    g_written = ::write(fd, "x", 1) == 1;
    if (!g_written && wrong == Wrong::kLeaks) {
        return fail(wrong);
    }
    (void)::close(fd);
    g_told = g_written || wrong == Wrong::kTellsABitOfIt;
    if (!g_written && wrong != Wrong::kLeavesItsFile) {
        (void)::unlink(kPath);
    }
    return g_written || wrong == Wrong::kHidesIt ? 0 : fail(wrong);
}

/* Nothing is checked of files that a good run leaves too, so they are told apart by their removal. */
Scenario writing(Wrong wrong) {
    return Scenario("write_file")
        .prepared([] { (void)::unlink(kPath); })
        .called([wrong] { return write_file(wrong); })
        .released([] {
            if (g_written) {
                (void)::unlink(kPath);
            }
        })
        .verified([] { return g_written; })
        .unchanged([] { return !g_told; })
        .failing({-1})
        .except({Call::write}, Waived::kEffect, "a byte that was not written is left out", Fault::Way::kEnds);
}

/* Whether the first complaint about the function is this one. */
testing::AssertionResult complains(const Scenario &scenario, const std::string &complaint) {
    testing::TestPartResultArray complaints;
    {
        testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &complaints);
        (void)run_scenario(scenario);
    }
    const std::string first = complaints.size() > 0 ? complaints.GetTestPartResult(0).message() : "nothing";
    if (first.find(complaint) == std::string::npos) {
        return testing::AssertionFailure() << "found " << first;
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult complains(Wrong wrong, const std::string &complaint) {
    return complains(writing(wrong), complaint);
}

}  // namespace

TEST(RunScenario, CountsAndFailsEveryCall) {
    const Tally tally = run_scenario(writing(Wrong::kNothing));
    EXPECT_EQ(3u, tally.system_calls);
    EXPECT_EQ(0u, tally.allocations);
    EXPECT_EQ(4u + 5u + 3u, tally.faults); /* open, write, close */
}

/* One byte goes out, then none. */
TEST(RunScenario, LetsADiskBeFullBehindAPart) {
    static bool stopped_half_way = false;
    stopped_half_way = false;
    const auto write_two = [] {
        const int fd = ::open(kPath, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ssize_t size = 0;
        for (ssize_t count = 1; fd >= 0 && count > 0 && size<2; size += count> 0 ? count : 0) {
            count = ::write(fd, "xx", static_cast<size_t>(2 - size));
            stopped_half_way = stopped_half_way || (count < 0 && errno == ENOSPC && size == 1);
        }
        (void)::close(fd);
        return size == 2 ? 0 : fail(Wrong::kNothing);
    };
    (void)run_scenario(Scenario("write_two").called(write_two).failing({-1}));
    EXPECT_TRUE(stopped_half_way);
}

TEST(RunScenario, FindsAFailureWithoutALine) {
    EXPECT_TRUE(complains(Wrong::kSilent, "fails without a line in the log"));
}

TEST(RunScenario, FindsAGoodRunThatFails) {
    const auto never_opens = [] { return ::access("/tmp/m_tmp/missing", F_OK) == 0 ? 1L : 0L; };
    const Scenario always_failing = Scenario("access").called(never_opens).failing({0});
    EXPECT_TRUE(complains(always_failing, "fails in a good run"));
}

TEST(RunScenario, FindsACallThatNeverComesToFail) {
    static int runs = 0;
    runs = 0;
    const auto opens_at_first = [] {
        const bool learning = ++runs <= 6;
        return learning && ::access("/tmp", F_OK) != 0 ? 1L : 0L;
    };
    const Scenario changing = Scenario("access").called(opens_at_first);
    EXPECT_TRUE(complains(changing, "never meets EIO in call 0, access"));
}

TEST(RunScenario, TakesNoOtherNumberForANewLine) {
    static int runs = 0;
    const auto hides_it = [] {
        OS_LOG(OS_LOG_WARNING, "run %d", ++runs);
        g_written = ::access("/tmp", F_OK) == 0;
        return 0L;
    };
    const Scenario chatty =
        Scenario("access").called(hides_it).verified([] { return g_written; }).reporting(Reports::kLog);
    EXPECT_TRUE(complains(chatty, "succeeds without effect"));
}

TEST(RunScenario, TakesNoSecondLineOfAGoodRunForANewOne) {
    const auto says_it_twice = [] {
        g_written = ::access("/tmp", F_OK) == 0;
        for (int line = g_written ? 1 : 0; line < 2; ++line) {
            OS_LOG(OS_LOG_WARNING, "looked");
        }
        return 0L;
    };
    const Scenario chatty =
        Scenario("access").called(says_it_twice).verified([] { return g_written; }).reporting(Reports::kLog);
    EXPECT_TRUE(complains(chatty, "succeeds without effect"));
}

TEST(RunScenario, LetsNoFunctionWithResultsReportByTheLogAlone) {
    const Scenario both = writing(Wrong::kNothing).reporting(Reports::kLog);
    EXPECT_TRUE(complains(both, "has results, and reports by the log alone"));
}

TEST(RunScenario, FindsALeak) {
    EXPECT_TRUE(complains(Wrong::kLeaks, "leaves 1 descriptors"));
}

TEST(RunScenario, FindsAResultThatTheHeaderDoesNotName) {
    EXPECT_TRUE(complains(Wrong::kUnknownResult, "is no result of this function"));
}

TEST(RunScenario, FindsASuccessWithoutEffect) {
    EXPECT_TRUE(complains(Wrong::kHidesIt, "succeeds without effect"));
}

TEST(RunScenario, FindsAFailureThatChangesAnOutput) {
    EXPECT_TRUE(complains(Wrong::kTellsABitOfIt, "fails, and leaves a change"));
}

TEST(RunScenario, FindsAFileThatIsLeftBehind) {
    EXPECT_TRUE(complains(Wrong::kLeavesItsFile, "leaves /tmp/m_tmp/wrong"));
}

}  // namespace faults
