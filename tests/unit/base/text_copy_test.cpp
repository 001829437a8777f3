#include "text_copy.h"

#include <gtest/gtest.h>

#include <string>

TEST(StrSnCpy, CopiesAShortTextWhole) {
    char buffer[] = "########";
    EXPECT_EQ(buffer, strsncpy(buffer, "abc", 7));
    EXPECT_EQ(std::string("abc\0####", 8), std::string(buffer, 8));
}

TEST(StrSnCpy, CutsALongTextAndTerminatesIt) {
    char buffer[] = "########";
    strsncpy(buffer, "abcdef", 3);
    EXPECT_EQ(std::string("abc\0####", 8), std::string(buffer, 8));
}

TEST(StrSnCpy, TakesATextOfExactlyTheLength) {
    char buffer[] = "########";
    strsncpy(buffer, "abc", 3);
    EXPECT_STREQ("abc", buffer);
}

TEST(StrSnCpy, WritesOnlyTheTerminatorForLengthZero) {
    char buffer[] = "##";
    strsncpy(buffer, "abc", 0);
    EXPECT_EQ(std::string("\0#", 2), std::string(buffer, 2));
}

TEST(StrSnCpy, ReadsNoFurtherThanTheLength) {
    const char unterminated[] = {'a', 'b', 'c'};
    char buffer[4] = "";
    strsncpy(buffer, unterminated, sizeof(unterminated));
    EXPECT_STREQ("abc", buffer);
}

TEST(StrDern, StripsLineEndsBlanksAndTabs) {
    char text[] = "value \t\r\n \n";
    EXPECT_EQ(text, strdern(text, sizeof(text) - 1));
    EXPECT_STREQ("value", text);
}

TEST(StrDern, KeepsWhatIsBeforeTheTail) {
    char text[] = " \ta b\tc";
    EXPECT_STREQ(" \ta b\tc", strdern(text, sizeof(text) - 1));
}

TEST(StrDern, EmptiesATextOfNothingElse) {
    char text[] = "\r\n\r\n";
    EXPECT_STREQ("", strdern(text, sizeof(text) - 1));
}

TEST(StrDern, StripsNoOtherControlCharacters) {
    char text[] = "a\v\f";
    EXPECT_STREQ("a\v\f", strdern(text, sizeof(text) - 1));
}

TEST(StrDern, TakesAnEmptyTextAndNull) {
    char text[] = "";
    EXPECT_STREQ("", strdern(text, 0));
    EXPECT_EQ(nullptr, strdern(nullptr, 0));
    EXPECT_EQ(nullptr, strdern(nullptr, 5));
}

TEST(StrDern, LooksOnlyAtTheLengthItIsTold) {
    char text[] = {'a', '\n', '#'};
    strdern(text, 2);
    EXPECT_EQ(std::string("a\0#", 3), std::string(text, 3));
}
