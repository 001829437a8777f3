#include "output/text_wrap.h"

#include <gtest/gtest.h>

namespace {

TEST(TextWrap, BreaksAtBlanksSoThatLinesFit) {
    EXPECT_EQ("one two\nthree\n", wrapped("one two three", 8, 0));
    EXPECT_EQ("one two\nthree\n", wrapped("one two three", 7, 0));
    EXPECT_EQ("one\ntwo\nthree\n", wrapped("one two three", 6, 0));
}

TEST(TextWrap, IndentsEveryLineWithinTheWidth) {
    EXPECT_EQ("  one\n  two\n", wrapped("one two", 8, 2));
}

TEST(TextWrap, LeavesALongWordWhole) {
    EXPECT_EQ("a\nlongest\nb\n", wrapped("a longest b", 4, 0));
}

TEST(TextWrap, KeepsLineEnds) {
    EXPECT_EQ("one\n\ntwo\n", wrapped("one\n\ntwo\n", 80, 0));
}

TEST(TextWrap, PutsANameAndItsMeaningSideBySideWhenThereIsRoom) {
    EXPECT_EQ("  --json  Print JSON\n", wrapped_pair("--json", "Print JSON", 60, 10));
    EXPECT_EQ("  --longer\n          Print JSON\n", wrapped_pair("--longer", "Print JSON", 60, 10));
    EXPECT_EQ("  --json\n", wrapped_pair("--json", "", 60, 10));
}

TEST(TextWrap, PutsTheMeaningBelowTheNameWhenThereIsNone) {
    EXPECT_EQ("  --json\n      Print JSON\n", wrapped_pair("--json", "Print JSON", 39, 10));
}

}  // namespace
