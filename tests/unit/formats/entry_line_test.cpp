#include "formats/entry_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(EntryLine, AKeyOf31CharactersIsHeld) {
    EXPECT_EQ(nullptr, key_problem(std::string(31, 'k')));
    EXPECT_STREQ("the key is too long", key_problem(std::string(32, 'k')));
}

TEST(EntryLine, AnEmptyKeyIsNotHeld) {
    EXPECT_STREQ("the key is empty", key_problem(""));
}

TEST(EntryLine, AKeyThatWouldReadAsACommentIsNotHeld) {
    EXPECT_STREQ("the key begins with '#' or a blank", key_problem("#k"));
    EXPECT_EQ(nullptr, key_problem("k#"));
}

TEST(EntryLine, AKeyThatBeginsWithABlankIsNotHeld) {
    EXPECT_STREQ("the key begins with '#' or a blank", key_problem(" k"));
    EXPECT_STREQ("the key begins with '#' or a blank", key_problem("\tk"));
    EXPECT_EQ(nullptr, key_problem("a key"));
    EXPECT_EQ(nullptr, key_problem("key "));
}

TEST(EntryLine, AKeyWithAnEqualsSignIsNotHeld) {
    EXPECT_STREQ("the key holds '='", key_problem("a=b"));
    EXPECT_STREQ("the key holds '='", key_problem("="));
}

TEST(EntryLine, AKeyWithALineEndIsNotHeld) {
    EXPECT_STREQ("the key holds a CR, LF or NUL", key_problem("a\nb"));
    EXPECT_STREQ("the key holds a CR, LF or NUL", key_problem("a\rb"));
    EXPECT_STREQ("the key holds a CR, LF or NUL", key_problem(std::string_view("a\0b", 3)));
}

TEST(EntryLine, AValueOf1023CharactersIsHeld) {
    EXPECT_EQ(nullptr, value_problem(std::string(1023, 'v')));
    EXPECT_STREQ("the value is too long", value_problem(std::string(1024, 'v')));
}

TEST(EntryLine, AnyValueOnOneLineIsHeld) {
    EXPECT_EQ(nullptr, value_problem(""));
    EXPECT_EQ(nullptr, value_problem(" = #\t\x01\xFF "));
}

TEST(EntryLine, AValueWithALineEndIsNotHeld) {
    EXPECT_STREQ("the value holds a CR, LF or NUL", value_problem("v\n"));
    EXPECT_STREQ("the value holds a CR, LF or NUL", value_problem("\rv"));
    EXPECT_STREQ("the value holds a CR, LF or NUL", value_problem(std::string_view("\0", 1)));
}

TEST(EntryLine, SplitsAtTheFirstEqualsSign) {
    Entry entry;
    EXPECT_EQ(nullptr, parse_entry("k=a=b=", entry));
    EXPECT_EQ("k", entry.key);
    EXPECT_EQ("a=b=", entry.value);
}

TEST(EntryLine, KeepsTheBlanksOfAValue) {
    Entry entry;
    EXPECT_EQ(nullptr, parse_entry("k=\t v ", entry));
    EXPECT_EQ("\t v ", entry.value);
}

TEST(EntryLine, TakesAnEmptyValue) {
    Entry entry;
    EXPECT_EQ(nullptr, parse_entry("k=", entry));
    EXPECT_EQ("", entry.value);
}

TEST(EntryLine, ACommentSaysNothing) {
    EXPECT_EQ("", entry_text("# k=v"));
    EXPECT_EQ("", entry_text("#"));
    EXPECT_EQ("", entry_text(""));
    EXPECT_EQ(" #k=v", entry_text(" #k=v"));
}

TEST(EntryLine, OneCrAtTheEndDoesNotCount) {
    EXPECT_EQ("k=v", entry_text("k=v\r"));
    EXPECT_EQ("k=v\r", entry_text("k=v\r\r"));
    EXPECT_EQ("k=\rv", entry_text("k=\rv"));
    EXPECT_EQ("", entry_text("\r"));
}

TEST(EntryLine, SplitsWhatNoLineCanHold) {
    Entry entry = {"old", "value"};
    EXPECT_TRUE(split_entry(" =\r", entry));
    EXPECT_EQ(" ", entry.key);
    EXPECT_EQ("\r", entry.value);
    EXPECT_FALSE(split_entry("k", entry));
    EXPECT_EQ(" ", entry.key);
}

TEST(EntryLine, TheLineIsKeyEqualsSignValueAndLf) {
    std::string text = "a=1\n";
    append_entry(text, {"key", "b=c "});
    append_entry(text, {"empty", ""});
    EXPECT_EQ("a=1\nkey=b=c \nempty=\n", text);
}

TEST(EntryLine, TheLongestLineIsOfTheLongestKeyAndValue) {
    const std::string line = std::string(31, 'k') + "=" + std::string(1023, 'v');
    Entry entry;
    EXPECT_EQ(nullptr, parse_entry(line, entry));
    EXPECT_EQ(line.size(), kEntryLineMax);
}

TEST(EntryLine, LeavesTheEntryAloneOnFailure) {
    Entry entry = {"old", "value"};
    EXPECT_STREQ("there is no '='", parse_entry("k", entry));
    EXPECT_STREQ("the key is empty", parse_entry("=v", entry));
    EXPECT_STREQ("the value is too long", parse_entry("k=" + std::string(1024, 'v'), entry));
    EXPECT_EQ("old", entry.key);
    EXPECT_EQ("value", entry.value);
}

}  // namespace
