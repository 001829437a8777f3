/*
 * Escaping texts for a terminal.
 */
#include "output/spelt_text.h"

#include <gtest/gtest.h>

namespace {

constexpr char kLetters[] = "plain, gr\xc3\xbc\xc3\x9f, \xe4\xb8\xad, \xf0\x9f\x98\x80";

TEST(SpeltText, LeavesLettersAsTheyAre) {
    EXPECT_EQ(kLetters, spelt_out(kLetters));
    EXPECT_EQ(kLetters, spelt_out_lines(kLetters));
    EXPECT_EQ(kLetters, spelt_out_json(kLetters));
    EXPECT_EQ("", spelt_out(""));
}

TEST(SpeltText, SpellsOutControlCharacters) {
    EXPECT_EQ("\\x1b[2J\\x0a\\x7f\\x00", spelt_out(std::string("\033[2J\n\177\0", 7)));
    EXPECT_EQ("\\xc2\\x9b2J", spelt_out("\xc2\x9b"
                                        "2J"));
}

TEST(SpeltText, SpellsOutBytesThatAreNoUtf8) {
    EXPECT_EQ("\\x9b2J \\xff \\xe2\\x80", spelt_out("\x9b"
                                                    "2J \xff \xe2\x80"));
}

TEST(SpeltText, SpellsOutWhatTurnsOrHidesText) {
    EXPECT_EQ("\\xe2\\x80\\xae\\xe2\\x81\\xa6\\xe2\\x80\\x8b\\xef\\xbb\\xbf",
              spelt_out("\xe2\x80\xae\xe2\x81\xa6\xe2\x80\x8b\xef\xbb\xbf"));
}

TEST(SpeltText, KeepsLineFeedsWhereThereAreLines) {
    EXPECT_EQ("a\n\\x0d\n", spelt_out_lines("a\n\r\n"));
    EXPECT_EQ("{\n}", spelt_out_json("{\n}"));
}

TEST(SpeltText, StaysJson) {
    EXPECT_EQ("\"\\u007f\\u009b\\u202e\\udb40\\udc01\"",
              spelt_out_json("\"\177\xc2\x9b\xe2\x80\xae\xf3\xa0\x80\x81\""));
}

}  // namespace
