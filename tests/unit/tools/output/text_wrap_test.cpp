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

TEST(TextWrap, CutsALongWord) {
    EXPECT_EQ("a\nlong\nest\nb\n", wrapped("a longest b", 4, 0));
    EXPECT_EQ("  lo\n  ng\n", wrapped("long", 4, 2));
    EXPECT_EQ("    l\n    o\n", wrapped("lo", 4, 4));
    EXPECT_EQ("\xe4\xb8\xad\n\xe6\x96\x87\n", wrapped("\xe4\xb8\xad\xe6\x96\x87", 4, 0));
    EXPECT_EQ("\xe4\xb8\n\xad\n", wrapped("\xe4\xb8\xad", 2, 0));
}

TEST(TextWrap, WrapsACommandSoThatItCanBeTyped) {
    EXPECT_EQ("  tool one two\n", wrapped_command("tool one two", 14, 2));
    EXPECT_EQ("  tool one \\\n      two\n", wrapped_command("tool one two", 13, 2));
    EXPECT_EQ("  tool \\\n      'one two'\n", wrapped_command("tool 'one two'", 12, 2));
    EXPECT_EQ("  tool \\\n      \"a 'b\" \\\n      c\n", wrapped_command("tool \"a 'b\" c", 14, 2));
    EXPECT_EQ("  # one\n  # two\n", wrapped_command("# one two", 10, 2));
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
    EXPECT_EQ("  a_long_n\n  ame\n      it\n", wrapped_pair("a_long_name", "it", 10, 10));
}

}  // namespace
