#include "cli/complaint.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

#include "support/test_terminal.h"

namespace {

const std::string kTool = program_invocation_short_name;

std::string complained(const std::string &text) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ExitCode::kUsage, complain(ExitCode::kUsage, text));
    return testing::internal::GetCapturedStderr();
}

TEST(Complaint, BeginsWithTheToolsName) {
    EXPECT_EQ(kTool + ": no such key\n", complained("no such key"));
}

TEST(Complaint, IsOneLineOnATerminal) {
    ::setenv("TERM", "dumb", 1);
    TestTerminal terminal({STDERR_FILENO});
    complain(ExitCode::kRefused, "key\n\033[2J");
    EXPECT_TRUE(terminal.shows(kTool + ": key\\x0a\\x1b[2J\r\n"));
}

TEST(Complaint, ComesAfterEarlierOutput) {
    char both[] = "/tmp/complaint.XXXXXX";
    const UniqueFd file(::mkstemp(both));
    {
        const Redirected output(STDOUT_FILENO, file.get());
        const Redirected errors(STDERR_FILENO, file.get());
        (void)std::fputs("output\n", stdout);
        complain(ExitCode::kRefused, "complaint");
    }
    EXPECT_EQ("output\n" + kTool + ": complaint\n", file_text(both));
    (void)::unlink(both);
}

TEST(Complaint, NamesResultCodes) {
    EXPECT_EQ("2001 E_APPS_ERR_ZNDB_NO_FOUND", code_text(E_APPS_ERR_ZNDB_NO_FOUND));
    EXPECT_EQ("-7 unknown", code_text(-7));
}

TEST(Complaint, GivesTheSystemsCause) {
    EXPECT_EQ("can't read x: Is a directory", errno_text("can't read x", EISDIR));
}

}  // namespace
