/*
 * Values that a command prints.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "frwk_common_ex.h"
#include "recorded_sleeps.h"

namespace {

class CommandValue : public RecordedSleeps {
  protected:
    LogCapture log_;
};

TEST_F(CommandValue, GetsWhatTheCommandPrints) {
    char buffer[16] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("echo 42", buffer, sizeof(buffer)));
    EXPECT_STREQ("42\n", buffer);
    EXPECT_TRUE(pauses_ms_.empty());
    EXPECT_EQ("", log_.text());
}

TEST_F(CommandValue, TakesAtMostSizeBytesAndAddsNoTerminator) {
    char buffer[4] = {0, 0, 0, '#'};
    EXPECT_EQ(0, frwk_get_popen_value_ex("printf 123456", buffer, 3));
    EXPECT_EQ("123#", std::string(buffer, 4));
}

TEST_F(CommandValue, CollectsOutputThatComesInPieces) {
    char buffer[8] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("printf a; sleep 0.05; printf b", buffer, sizeof(buffer)));
    EXPECT_STREQ("ab", buffer);
}

TEST_F(CommandValue, AnEndlessOutputIsCutOff) {
    char buffer[4] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("yes 2>/dev/null", buffer, sizeof(buffer)));
    EXPECT_EQ("y\ny\n", std::string(buffer, 4));
}

TEST_F(CommandValue, AnEndlessShellLoopIsCutOffInAModuleToo) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    sigset_t broken_pipe;
    sigset_t mask_before;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &broken_pipe, &mask_before);

    char buffer[4] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("while :; do echo x; done", buffer, sizeof(buffer)));
    EXPECT_EQ("x\nx\n", std::string(buffer, 4));

    pthread_sigmask(SIG_SETMASK, &mask_before, nullptr);
    (void)std::signal(SIGPIPE, before);
}

TEST_F(CommandValue, BadArgumentsAreRefusedAtOnce) {
    char buffer[4] = "";
    EXPECT_EQ(-1, frwk_get_popen_value_ex(nullptr, buffer, sizeof(buffer)));
    EXPECT_EQ(-1, frwk_get_popen_value_ex("echo 1", nullptr, 4));
    EXPECT_EQ(-1, frwk_get_popen_value_ex("echo 1", buffer, 0));
    EXPECT_EQ(-1, frwk_get_popen_value_ex("echo 1", buffer, -1));
    EXPECT_STREQ("", buffer);
    EXPECT_TRUE(pauses_ms_.empty());
    EXPECT_EQ(0u, doubles::base::os_popen.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(CommandValue, ACommandThatPrintsNothingIsRunElevenTimes) {
    char buffer[4] = "";
    EXPECT_EQ(-1, frwk_get_popen_value_ex("true", buffer, sizeof(buffer)));
    EXPECT_EQ(11u, doubles::base::os_popen.calls());
    EXPECT_EQ(half_seconds(10), pauses_ms_);
    EXPECT_EQ(11u, log_.count("fread true failed :Success, sleep 500ms\n")) << log_.text();
    EXPECT_EQ(1u, log_.count("fread true failed multiple times")) << log_.text();
    EXPECT_EQ("fread true failed multiple times", log_.debug_lines().back().text);
}

TEST_F(CommandValue, AnOutputThatBeginsWithNulCountsAsNone) {
    char buffer[4] = "";
    EXPECT_EQ(-1, frwk_get_popen_value_ex("printf '\\0001'", buffer, sizeof(buffer)));
    EXPECT_EQ(11u, doubles::base::os_popen.calls());
}

TEST_F(CommandValue, ABufferThatWasNotZeroedLooksLikeAValue) {
    char buffer[4] = "old";
    EXPECT_EQ(0, frwk_get_popen_value_ex("true", buffer, sizeof(buffer)));
    EXPECT_STREQ("old", buffer);
}

TEST_F(CommandValue, AFailedPipeIsLoggedAndTriedAgain) {
    doubles::base::os_popen.fail(EMFILE);
    char buffer[4] = "";
    EXPECT_EQ(-1, frwk_get_popen_value_ex("echo 1", buffer, sizeof(buffer)));
    EXPECT_EQ(half_seconds(10), pauses_ms_);
    EXPECT_EQ(11u, log_.count("popen :echo 1 failed:Too many open files \n")) << log_.text();
    EXPECT_EQ(1u, log_.count("fread echo 1 failed multiple times")) << log_.text();
}

TEST_F(CommandValue, ALaterAttemptMaySucceed) {
    doubles::base::os_popen.stand_in([](const char *command, const char *mode) {
        return doubles::base::os_popen.real(doubles::base::os_popen.calls() == 3 ? command : "true", mode);
    });
    char buffer[4] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("echo 1", buffer, sizeof(buffer)));
    EXPECT_STREQ("1\n", buffer);
    EXPECT_EQ(half_seconds(2), pauses_ms_);
    EXPECT_EQ(2u, log_.count("fread echo 1 failed :Success, sleep 500ms\n")) << log_.text();
    EXPECT_FALSE(log_.contains("multiple times"));
}

TEST_F(CommandValue, ASignalWhileItReadsLosesNothing) {
    static unsigned reads;
    reads = 0;
    doubles::base::os_popen.stand_in([](const char *, const char *mode) {
        const auto read = [](void *, char *bytes, size_t) -> ssize_t {
            if (++reads == 2) {
                errno = EINTR;
                return -1;
            }
            *bytes = static_cast<char>('0' + reads);
            return reads <= 3 ? 1 : 0;
        };
        return fopencookie(nullptr, mode, {read, nullptr, nullptr, nullptr});
    });
    char buffer[4] = "";
    EXPECT_EQ(0, frwk_get_popen_value_ex("print", buffer, sizeof(buffer)));
    EXPECT_STREQ("13", buffer);
    EXPECT_EQ(1u, doubles::base::os_popen.calls());
}

TEST_F(CommandValue, AnUnknownCommandGivesNoValue) {
    char buffer[4] = "";
    EXPECT_EQ(-1, frwk_get_popen_value_ex("no_such_command_at_all 2>/dev/null", buffer, sizeof(buffer)));
    EXPECT_STREQ("", buffer);
}

TEST_F(CommandValue, NoDescriptorStaysOpen) {
    const int before = ::dup(0);
    ::close(before);
    char buffer[4] = "";
    frwk_get_popen_value_ex("true", buffer, sizeof(buffer));
    frwk_get_popen_value_ex("echo 1", buffer, sizeof(buffer));
    const int after = ::dup(0);
    ::close(after);
    EXPECT_EQ(before, after);
}

}  // namespace
