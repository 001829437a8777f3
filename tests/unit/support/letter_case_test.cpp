/*
 * Comparing texts, ignoring case.
 */
#include "support/letter_case.h"

#include <gtest/gtest.h>

TEST(SameIgnoringCase, KnowsEveryLetter) {
    EXPECT_TRUE(same_ignoring_case("abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
}

TEST(SameIgnoringCase, TakesOnlyLettersForLetters) {
    EXPECT_FALSE(same_ignoring_case("@", "`"));
    EXPECT_FALSE(same_ignoring_case("[", "{"));
    EXPECT_FALSE(
        same_ignoring_case("\xC4", "\xE4")); /* letters in some encodings, parts of others in UTF-8 */
}

TEST(SameIgnoringCase, ComparesToTheEndOfBothTexts) {
    EXPECT_TRUE(same_ignoring_case("", ""));
    EXPECT_FALSE(same_ignoring_case("on", "one"));
    EXPECT_FALSE(same_ignoring_case("one", "on"));
}

TEST(SameIgnoringCase, ComparesNoMoreThanItsLength) {
    EXPECT_TRUE(same_ignoring_case("CPU: 3%", "cpu:", 4));
    EXPECT_FALSE(same_ignoring_case("CP", "cpu:", 4));
    EXPECT_TRUE(same_ignoring_case("ab", "AB", 4));
    EXPECT_TRUE(same_ignoring_case("a", "b", 0));
}
