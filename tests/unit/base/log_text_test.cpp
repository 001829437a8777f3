/*
 * A log line in its buffer: what is escaped, and how a long one is truncated.
 */
#include "os/log_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

std::string escaped(const std::string &text) {
    LogText line;
    line.add_escaped(text.c_str());
    return line.text();
}

/* A line that has room for so many bytes before it is truncated. */
void fill(LogText &line, size_t room) {
    LogText probe;
    probe.add(std::string(2 * kLogLineMax, 'x').c_str());
    line.add(std::string(probe.length() - std::string("...").size() - room, 'x').c_str());
}

std::string tail(const LogText &line, size_t count) {
    return std::string(line.text()).substr(line.length() - count);
}

}  // namespace

TEST(LogText, IsEmptyAtFirstAndOnceItWasCleared) {
    LogText line;
    EXPECT_STREQ("", line.text());
    line.add("text");
    line.mark_cut();
    line.clear();
    EXPECT_STREQ("", line.text());
    line.add("more");
    EXPECT_STREQ("more", line.text());
}

TEST(LogText, EscapesWhatWouldStartALineOrControlATerminal) {
    EXPECT_EQ("a\\nb\\rc", escaped("a\nb\rc"));
    EXPECT_EQ("\\x1b[2J\\x09\\x7f", escaped("\033[2J\t\177"));
    EXPECT_EQ("\\xc2\\x9b", escaped("\xc2\x9b")); /* CSI as a character */
}

TEST(LogText, KeepsTextAndBytesThatAreNoControl) {
    EXPECT_EQ("~ \\ gr\xc3\xbc\xc3\x9f", escaped("~ \\ gr\xc3\xbc\xc3\x9f"));
    EXPECT_EQ("\xfc", escaped("\xfc"));  /* a letter of Latin-1 */
    EXPECT_EQ("\\x9b", escaped("\x9b")); /* CSI as a byte */
}

TEST(LogText, WritesNumbersInDecimal) {
    LogText line;
    line.add_number(0);
    line.add(" ");
    line.add_number(std::numeric_limits<long>::min());
    EXPECT_EQ("0 " + std::to_string(std::numeric_limits<long>::min()), line.text());
}

TEST(LogText, FillsItsBufferAndMarksWhatIsMissing) {
    LogText line;
    fill(line, 2);
    line.add("ab");
    EXPECT_EQ("ab", tail(line, 2));
    line.add("c");
    line.add("d");
    EXPECT_EQ("ab...", tail(line, 5)) << "once, and nothing after it";
    line.end();
    EXPECT_EQ("...\n", tail(line, 4));
    EXPECT_LT(line.length(), kLogLineMax);
}

TEST(LogText, TakesAsManyPlainBytesAsFit) {
    LogText line;
    fill(line, 2);
    line.add("abc");
    EXPECT_EQ("ab...", tail(line, 5));
}

TEST(LogText, SplitsNoCharacter) {
    LogText line;
    fill(line, 1);
    line.add_escaped("\xc3\xbc");
    EXPECT_EQ("x...", tail(line, 4));
}

TEST(LogText, CanBeMarkedBeforeItIsFull) {
    LogText line;
    line.add("a");
    line.mark_cut();
    line.mark_cut();
    line.add("b");
    EXPECT_STREQ("a...", line.text());
}

TEST(LogText, EqualsALineOfTheSameBytes) {
    LogText first;
    LogText second;
    first.add("same");
    second.add("sam");
    EXPECT_FALSE(first.equals(second));
    second.add("e");
    EXPECT_TRUE(first.equals(second));
}
