#include "cli/number_range.h"

#include <gtest/gtest.h>

namespace {

TEST(NumberRange, IncludesItsEnds) {
    EXPECT_EQ("", whole_number_problem("1", 1, 10));
    EXPECT_EQ("", whole_number_problem("10", 1, 10));
    EXPECT_EQ("'0' is not a whole number from 1 to 10", whole_number_problem("0", 1, 10));
    EXPECT_EQ("'11' is not a whole number from 1 to 10", whole_number_problem("11", 1, 10));
}

TEST(NumberRange, MayHaveNoUpperEnd) {
    EXPECT_EQ("", whole_number_problem("18446744073709551615", 1));
    EXPECT_EQ("'0' is not a whole number of 1 or more", whole_number_problem("0", 1));
    EXPECT_EQ("'18446744073709551616' is not a whole number of 1 or more",
              whole_number_problem("18446744073709551616", 1));
}

TEST(NumberRange, TakesHexadecimalNumbers) {
    EXPECT_EQ("", whole_number_problem("0x1F", 0, 31));
    EXPECT_NE("", whole_number_problem("0x", 0, 31));
}

TEST(NumberRange, TakesNothingButAWholeNumber) {
    for (const char *word : {"", " 1", "1 ", "+1", "-1", "1.5", "1e1", "one"}) {
        EXPECT_NE("", whole_number_problem(word, 0, 100)) << word;
    }
}

TEST(NumberRange, OfRealNumbersTakesFractions) {
    for (const char *word : {"0.5", ".5", "2", "1e0"}) {
        EXPECT_EQ("", real_number_problem(word, 0.5, 2)) << word;
    }
    EXPECT_EQ("'2.5' is not a number from 0.5 to 2", real_number_problem("2.5", 0.5, 2));
    EXPECT_EQ("'-1' is not a number from 0.5 to 2", real_number_problem("-1", 0.5, 2));
}

TEST(NumberRange, OfRealNumbersTakesNothingElse) {
    for (const char *word : {"", "nan", "inf", " 1", "1s", "-nan", "."}) {
        EXPECT_NE("", real_number_problem(word, -10, 10)) << word;
    }
}

}  // namespace
