/*
 * Numbers in texts, compared with the C library's conversions.
 */
#include "internal/decimal.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace {

constexpr const char *kTexts[] = {"",
                                  "0",
                                  "-0",
                                  "+7",
                                  "--7",
                                  "-+7",
                                  "+ 7",
                                  "0x10",
                                  "12a",
                                  "a12",
                                  " \t\n\v\f\r42 ",
                                  "\b42",
                                  "007",
                                  "2147483647",
                                  "2147483648",
                                  "-2147483648",
                                  "-2147483649",
                                  "4294967296",
                                  "9223372036854775807",
                                  "9223372036854775808",
                                  "-9223372036854775808",
                                  "-9223372036854775809",
                                  "18446744073709551615",
                                  "-18446744073709551615",
                                  "18446744073709551616",
                                  "-18446744073709551616",
                                  "99999999999999999999999999999999999999",
                                  "-99999999999999999999999999999999999999"};

void expect_as_the_c_library(const std::string &text) {
    EXPECT_EQ(std::strtoll(text.c_str(), nullptr, 10), decimal_long_number(text.c_str())) << text;
    EXPECT_EQ(std::strtoull(text.c_str(), nullptr, 10), decimal_unsigned_number(text.c_str())) << text;
}

}  // namespace

TEST(Decimal, ReadsAsTheCLibraryDoes) {
    for (const char *text : kTexts) {
        expect_as_the_c_library(text);
    }
}

TEST(Decimal, ReadsRandomTextsAsTheCLibraryDoes) {
    constexpr char kCharacters[] = "0123456789012345678901234567890123456789 \t-+xA.";
    std::mt19937 random(20);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 24, '0');
        for (char &each : text) {
            each = kCharacters[random() % (sizeof(kCharacters) - 1)];
        }
        expect_as_the_c_library(text);
    }
}

TEST(Decimal, KeepsTo32BitsWhereTheDeviceDoes) {
    EXPECT_EQ(INT32_MAX, decimal_number("2147483648"));
    EXPECT_EQ(INT32_MIN, decimal_number("-2147483649"));
    EXPECT_EQ(INT32_MIN, decimal_number("-99999999999999999999"));
    EXPECT_EQ(-5, decimal_number(" -5 seconds"));
}
