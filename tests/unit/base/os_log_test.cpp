#include "os_log.h"

#include <syslog.h>

#include <atomic>
#include <cerrno>
#include <regex>
#include <set>

#include "support/threads.h"
#include "unit/base/log_channels_fixture.h"
#include "utf8_text.h"

namespace {

class OsLog : public LogChannelsTest {
  protected:
    /* The text of the only line in the debug channel, after "file function:line ". */
    std::string only_debug_text() const {
        const std::vector<std::string> lines = debug_lines();
        EXPECT_EQ(1u, lines.size());
        const std::string mark = " file.cpp function:7 ";
        const size_t at = lines.empty() ? std::string::npos : lines[0].find(mark);
        EXPECT_NE(std::string::npos, at);
        return at == std::string::npos ? "" : lines[0].substr(at + mark.size());
    }
};

void print_debug(const char *text) {
    os_debug_print(OS_LOG_WARNING, "file.cpp", "function", 7, "%s", text);
}

void print_system(int level, const char *text) {
    os_trace_print(level, "file.cpp", "function", 7, "%s", text);
}

void log_250_lines(int thread) {
    for (int i = 0; i < 250; ++i) {
        OS_LOG(OS_LOG_WARNING, "<%d:%d>", thread, i);
    }
}

void set_up_again_and_again() {
    for (int i = 0; i < 100; ++i) {
        os_log_init("testmod", 3);
        os_mask_set(0);
        os_debug_enable();
    }
}

}  // namespace

TEST_F(OsLog, WritesADebugLineInOnePiece) {
    os_debug_print(OS_LOG_NOTICE, "file.cpp", "function", 7, "%s=%d", "value", 5);
    ASSERT_EQ(1u, debug_lines().size());
    const std::regex form(
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} notice testmod file\.cpp function:7 value=5\n)");
    EXPECT_TRUE(std::regex_match(debug_lines()[0], form)) << debug_lines()[0];
}

TEST_F(OsLog, NamesEachLevelInTheDebugLine) {
    const char *const names[] = {"emergency", "alert", "critical", "error",  "warning",
                                 "notice",    "info",  "debug",    "verbose"};
    for (int level = 0; level <= OS_LOG_VERBOSE; ++level) {
        os_debug_print(level, "f", "f", 1, "x");
        EXPECT_NE(std::string::npos,
                  debug_lines().back().find(std::string(" ") + names[level] + " testmod "));
    }
    os_debug_print(9, "f", "f", 1, "x");
    EXPECT_NE(std::string::npos, debug_lines().back().find(" other testmod "));
    os_debug_print(-1, "f", "f", 1, "x");
    EXPECT_NE(std::string::npos, debug_lines().back().find(" other testmod "));
}

TEST_F(OsLog, HandsTheSystemLogFileFunctionLineAndText) {
    print_system(OS_LOG_WARNING, "text");
    const std::vector<SystemMessage> expected = {{LOG_WARNING, "file.cpp function:7 text"}};
    EXPECT_EQ(expected, system_messages());
}

TEST_F(OsLog, MapsLevelsToTheSystemLogsPriorities) {
    const std::pair<int, int> pairs[] = {{-1, LOG_EMERG}, {0, LOG_EMERG}, {4, LOG_WARNING},
                                         {7, LOG_DEBUG},  {8, LOG_DEBUG}, {99, LOG_DEBUG}};
    for (const auto &[level, priority] : pairs) {
        print_system(level, "text");
        EXPECT_EQ(priority, system_messages().back().first) << level;
    }
}

TEST_F(OsLog, DropsALineEndAtTheEnd) {
    print_debug("text\r\n");
    EXPECT_EQ("text\n", only_debug_text());
}

TEST_F(OsLog, SpellsOutControlCharactersInside) {
    print_debug("a\nb\rc\x1b[31m\x01\td\x7f");
    EXPECT_EQ("a\\nb\\rc\\x1b[31m\\x01\\x09d\\x7f\n", only_debug_text());
    print_system(OS_LOG_WARNING, "a\nb\x1b");
    EXPECT_EQ("file.cpp function:7 a\\nb\\x1b", system_messages().back().second);
}

TEST_F(OsLog, PassesBytesAbove127AsTheyAre) {
    print_debug("gr\xc3\xbc\xc3\x9f \xff");
    EXPECT_EQ("gr\xc3\xbc\xc3\x9f \xff\n", only_debug_text());
}

/* As a terminal reads them: in UTF-8, or byte by byte. */
TEST_F(OsLog, SpellsOutControlCharactersAbove127) {
    print_debug(
        "a\xc2\x9b"
        "2J b\x9b"
        "2J \x80\x9f\xa0 \xe2\x9b");
    EXPECT_EQ("a\\xc2\\x9b2J b\\x9b2J \\x80\\x9f\xa0 \xe2\\x9b\n", only_debug_text());
}

TEST_F(OsLog, SpellsOutWhatTurnsOrHidesText) {
    print_system(OS_LOG_WARNING,
                 "user\xe2\x80\xae"
                 "txt.\xe2\x80\x8b \xf0\x9f\x98\x80");
    EXPECT_EQ("file.cpp function:7 user\\xe2\\x80\\xaetxt.\\xe2\\x80\\x8b \xf0\x9f\x98\x80",
              system_messages().back().second);
}

TEST_F(OsLog, CutsNoCharacterInTheMiddle) {
    for (int blanks = 0; blanks < 7; ++blanks) {
        std::string text(static_cast<size_t>(blanks), ' ');
        while (text.size() < 2040) {
            text += "\x01\x01\x01\xe4\xb8\xad"; /* 12 bytes and 3 */
        }
        print_debug(text.c_str());
        const std::string line = debug_lines().back();
        ASSERT_EQ("...\n", line.substr(line.size() - 4));
        for (size_t at = 0; at < line.size();) {
            const size_t length = utf8_length(std::string_view(line).substr(at));
            ASSERT_NE(0u, length) << blanks << " at " << at;
            at += length;
        }
    }
}

TEST_F(OsLog, SpellsOutControlCharactersInNames) {
    os_log_init("two\nlines", 0);
    os_debug_print(OS_LOG_WARNING, "fi\nle", "fun\nction", 7, "text");
    EXPECT_NE(std::string::npos, debug_lines().back().find(" two\\nlines fi\\nle fun\\nction:7 text\n"));
}

TEST_F(OsLog, CutsALongTextAndMarksTheCut) {
    print_debug(std::string(2047, 'x').c_str());
    EXPECT_EQ(std::string(2047, 'x') + "\n", debug_lines()[0].substr(debug_lines()[0].find('x', 60)));
    print_debug(std::string(2048, 'y').c_str());
    EXPECT_EQ(std::string(2047, 'y') + "...\n", debug_lines()[1].substr(debug_lines()[1].find("yyy")));
    print_debug(std::string(size_t{10} << 20, 'z').c_str());
    EXPECT_EQ(std::string(2047, 'z') + "...\n", debug_lines()[2].substr(debug_lines()[2].find("zzz")));
}

TEST_F(OsLog, CutsATextThatGrowsWhenItIsSpeltOut) {
    print_debug(std::string(2000, '\x01').c_str());
    const std::string line = debug_lines()[0];
    EXPECT_GE(4096u, line.size());
    EXPECT_LT(4000u, line.size());
    EXPECT_EQ("...\n", line.substr(line.size() - 4));
    print_system(OS_LOG_WARNING, std::string(2000, '\x01').c_str());
    EXPECT_GE(4096u, system_messages()[0].second.size());
}

TEST_F(OsLog, MarksATextThatIsCutBeforeAndAfterItIsSpeltOutOnce) {
    print_debug(std::string(5000, '\x01').c_str());
    const std::string line = debug_lines()[0];
    EXPECT_EQ("...\n", line.substr(line.size() - 4));
    EXPECT_NE('.', line[line.size() - 5]);
}

TEST_F(OsLog, CutsLongNamesOfFilesAndFunctions) {
    const std::string name(5000, 'n');
    os_debug_print(OS_LOG_WARNING, name.c_str(), name.c_str(), 7, "text");
    EXPECT_GE(4096u, debug_lines()[0].size());
    EXPECT_EQ('\n', debug_lines()[0].back());
}

TEST_F(OsLog, WritesALineForATextThatCannotBeFormatted) {
    os_debug_print(OS_LOG_WARNING, "file.cpp", "function", 7, "%lc", static_cast<wint_t>(0x10FFFF));
    EXPECT_EQ("\n", only_debug_text());
}

TEST_F(OsLog, WritesAgainAfterASignal) {
    doubles::libc::write.stand_in([](int, const void *, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() == 1) {
            errno = EINTR;
            return -1;
        }
        return static_cast<ssize_t>(size);
    });
    doubles::libc::write.forget_calls();
    print_debug("text");
    EXPECT_EQ(2u, doubles::libc::write.calls());
}

TEST_F(OsLog, GivesUpALineThatCannotBeWrittenAndKeepsErrno) {
    doubles::libc::write.fail(EIO);
    doubles::libc::write.forget_calls();
    errno = EPIPE;
    print_debug("text");
    EXPECT_EQ(EPIPE, errno);
    EXPECT_EQ(1u, doubles::libc::write.calls());
}

TEST_F(OsLog, KeepsErrnoInEveryCall) {
    doubles::libc::sendmsg.fail(ECONNREFUSED);
    set_channels(1, OS_LOG_VERBOSE);
    errno = ENOENT;
    print_system(OS_LOG_WARNING, "text");
    EXPECT_EQ(ENOENT, errno);
    OS_LOG(OS_LOG_WARNING, "text %d", 1);
    EXPECT_EQ(ENOENT, errno);
    OS_LOG_QUIET(OS_LOG_WARNING, "text %d", 2);
    EXPECT_EQ(ENOENT, errno);
    OS_LOG_ASSERT(false, "condition", "message");
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(OsLog, SendsAMessageToBothChannels) {
    set_channels(1, OS_LOG_WARNING);
    OS_LOG(OS_LOG_WARNING, "text %d", 1);
    ASSERT_EQ(1u, debug_lines().size());
    ASSERT_EQ(1u, system_messages().size());
    const std::regex form(R"(os_log_test\.cpp TestBody:\d+ text 1)");
    EXPECT_TRUE(std::regex_match(system_messages()[0].second, form)) << system_messages()[0].second;
    EXPECT_NE(std::string::npos, debug_lines()[0].find(system_messages()[0].second));
}

TEST_F(OsLog, TakesMessagesOfTheSystemLevelAndBelow) {
    OS_LOG(OS_LOG_NOTICE, "notice");
    EXPECT_EQ(0u, system_messages().size());
    OS_LOG(OS_LOG_WARNING, "warning");
    EXPECT_EQ(1u, system_messages().size());
    set_channels(0, OS_LOG_VERBOSE);
    OS_LOG(OS_LOG_VERBOSE, "verbose");
    EXPECT_EQ(2u, system_messages().size());
    EXPECT_EQ(0u, debug_lines().size());
}

TEST_F(OsLog, KeepsQuietMessagesOutOfTheSystemLog) {
    set_channels(1, OS_LOG_VERBOSE);
    OS_LOG_QUIET(OS_LOG_WARNING, "text");
    EXPECT_EQ(1u, debug_lines().size());
    EXPECT_EQ(0u, system_messages().size());
}

TEST_F(OsLog, EvaluatesNoArgumentWhenNoChannelTakesTheMessage) {
    int evaluated = 0;
    OS_LOG(OS_LOG_NOTICE, "%d", ++evaluated);
    OS_LOG_QUIET(OS_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(0, evaluated);
    OS_LOG(OS_LOG_WARNING, "%d", ++evaluated);
    EXPECT_EQ(1, evaluated);
}

TEST_F(OsLog, TellsTheCauseOfAFailure) {
    errno = ENOENT;
    OS_LOG_ERRNO("open failed!");
    ASSERT_EQ(1u, system_messages().size());
    EXPECT_NE(std::string::npos,
              system_messages()[0].second.find("open failed! errno=2, cause: No such file or directory"));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(OsLog, ReportsAConditionThatDoesNotHoldAndGoesOn) {
    set_channels(1, OS_LOG_WARNING);
    os_log_assert("file.cpp", "function", 7, 0, "(8) > i", "too many");
    EXPECT_EQ("ASSERT((8) > i) too many\n", only_debug_text());
    const std::vector<SystemMessage> expected = {
        {LOG_WARNING, "file.cpp function:7 ASSERT((8) > i) too many"}};
    EXPECT_EQ(expected, system_messages());
}

TEST_F(OsLog, ReportsNoConditionThatHolds) {
    set_channels(1, OS_LOG_VERBOSE);
    os_log_assert("file.cpp", "function", 7, 1, "text", "message");
    OS_LOG_ASSERT(2 > 1, "2 > 1", "");
    EXPECT_EQ(0u, debug_lines().size());
    EXPECT_EQ(0u, system_messages().size());
}

TEST_F(OsLog, ReportsAConditionOnlyWhereTheChannelTakesIt) {
    set_channels(0, 3);
    OS_LOG_ASSERT(false, "text", "message");
    EXPECT_EQ(0u, debug_lines().size());
    EXPECT_EQ(0u, system_messages().size());
}

TEST_F(OsLog, TurnsTheDebugChannelOn) {
    OS_LOG_QUIET(OS_LOG_WARNING, "before");
    os_debug_enable();
    OS_LOG_QUIET(OS_LOG_WARNING, "after");
    EXPECT_EQ(1, g_debug_log_enable);
    EXPECT_EQ(1u, debug_lines().size());
}

TEST_F(OsLog, PassesEveryLevelWithoutAMask) {
    for (const int level : {-1, 0, 4, 8, 31, 32, 1000}) {
        EXPECT_EQ(1, os_mask_check(level)) << level;
    }
}

TEST_F(OsLog, PassesOnlyTheLevelsOfTheMask) {
    set_channels(1, OS_LOG_WARNING);
    os_mask_set(1u << OS_LOG_DEBUG | 1u << 31);
    EXPECT_EQ(1, os_mask_check(OS_LOG_DEBUG));
    EXPECT_EQ(1, os_mask_check(31));
    for (const int level : {-1, 0, 4, 8, 32, 39, 1000}) {
        EXPECT_EQ(0, os_mask_check(level)) << level;
    }
    OS_LOG(OS_LOG_WARNING, "masked");
    EXPECT_EQ(0u, debug_lines().size());
    EXPECT_EQ(1u, system_messages().size());

    os_mask_set(0);
    OS_LOG(OS_LOG_WARNING, "open");
    EXPECT_EQ(1u, debug_lines().size());
}

TEST_F(OsLog, OpensTheSystemLogWithNameAndFacility) {
    const int facilities[] = {LOG_USER,   LOG_AUTH,   LOG_AUTHPRIV, LOG_CRON,   LOG_DAEMON, LOG_FTP,
                              LOG_KERN,   LOG_LOCAL0, LOG_LOCAL1,   LOG_LOCAL2, LOG_LOCAL3, LOG_LOCAL4,
                              LOG_LOCAL5, LOG_LOCAL6, LOG_LOCAL7,   LOG_LPR,    LOG_MAIL,   LOG_NEWS,
                              LOG_SYSLOG, LOG_USER,   LOG_UUCP};
    for (uint32_t number = 0; number <= 20; ++number) {
        os_log_init("wlan", number);
        EXPECT_EQ(facilities[number], opened_log().facility) << number;
        EXPECT_EQ("wlan", opened_log().name);
    }
    EXPECT_EQ(LOG_PID, opened_log().options);
}

TEST_F(OsLog, TakesAnUnknownFacilityForAUsersProgram) {
    for (const uint32_t number : {21u, 255u, UINT32_MAX}) {
        os_log_init("wlan", number);
        EXPECT_EQ(LOG_USER, opened_log().facility) << number;
    }
}

TEST_F(OsLog, CopiesTheNameAndCutsItAt63Characters) {
    std::string name(100, 'n');
    os_log_init(name.c_str(), 0);
    name[0] = '#';
    print_debug("text");
    EXPECT_EQ(std::string(63, 'n'), opened_log().name);
    EXPECT_NE(std::string::npos, debug_lines()[0].find(" " + std::string(63, 'n') + " file.cpp"));
}

TEST_F(OsLog, NamesANamelessProcessUnknown) {
    os_log_init(nullptr, 0);
    print_debug("text");
    EXPECT_NE(std::string::npos, debug_lines()[0].find(" warning unknown file.cpp"));
}

TEST_F(OsLog, TakesItsSettingsFromTheEnvironment) {
    setenv("QUOR_DEBUG", "1", 1);
    setenv("QUOR_SYSLOG_LEVEL", "8", 1);
    os_log_init("wlan", 0);
    EXPECT_EQ(1, g_debug_log_enable);
    EXPECT_EQ(8, g_syslog_level);
    setenv("QUOR_SYSLOG_LEVEL", "0", 1);
    os_log_init("wlan", 0);
    EXPECT_EQ(0, g_syslog_level);
}

TEST_F(OsLog, KeepsTheDebugChannelOnOnceItIs) {
    os_debug_enable();
    setenv("QUOR_DEBUG", "0", 1);
    os_log_init("wlan", 0);
    EXPECT_EQ(1, g_debug_log_enable);
}

TEST_F(OsLog, IgnoresGarbageInTheEnvironment) {
    for (const char *garbage : {"", "9", "-1", "77", "7 ", " 7", "x", "/"}) {
        setenv("QUOR_SYSLOG_LEVEL", garbage, 1);
        os_log_init("wlan", 0);
        EXPECT_EQ(OS_LOG_WARNING, g_syslog_level) << garbage;
    }
    for (const char *garbage : {"", "0", "11", "yes", " 1"}) {
        setenv("QUOR_DEBUG", garbage, 1);
        os_log_init("wlan", 0);
        EXPECT_EQ(0, g_debug_log_enable) << garbage;
    }
}

TEST_F(OsLog, KeepsLinesOfManyThreadsWhole) {
    set_channels(1, OS_LOG_WARNING);
    run_in_threads(9, [](size_t thread) {
        thread < 8 ? log_250_lines(static_cast<int>(thread)) : set_up_again_and_again();
    });

    const std::vector<std::string> lines = debug_lines();
    EXPECT_EQ(2000u, std::set<std::string>(lines.begin(), lines.end()).size());
    EXPECT_EQ(2000u, system_messages().size());
    for (const std::string &line : lines) {
        EXPECT_EQ(line.size() - 1, line.find('\n'));
        EXPECT_EQ(line.size() - 2, line.rfind('>'));
    }
}
