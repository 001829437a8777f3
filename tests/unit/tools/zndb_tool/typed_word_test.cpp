#include "zndb_tool/typed_word.h"

#include <gtest/gtest.h>

#include "zndb.h"

namespace {

std::string stored(const char *type, const std::string &word) {
    std::string text = "untouched";
    const std::string problem = to_stored(type_named(type), word, &text);
    return problem.empty() ? text : problem;
}

std::string shown(const char *type, const std::string &text) {
    std::string word = "untouched";
    const std::string problem = to_shown(type_named(type), text, &word);
    return problem.empty() ? word : problem;
}

TEST(TypedWord, KnowsItsTypesByName) {
    EXPECT_EQ(14u, type_names().size());
    for (const std::string &name : type_names()) {
        EXPECT_NE(0, type_named(name)) << name;
    }
    EXPECT_EQ(0, type_named("unit"));
}

TEST(TypedWord, StoresIntegersWithoutPlusAndLeadingZeros) {
    EXPECT_EQ("7", stored("int", "+007"));
    EXPECT_EQ("-7", stored("int", "-007"));
    EXPECT_EQ("0", stored("int", "-0"));
    EXPECT_EQ("0", stored("uint", "000"));
}

TEST(TypedWord, TakesEachIntegerTypeToItsLimits) {
    EXPECT_EQ("255", stored("byte", "255"));
    EXPECT_EQ("'256' is not a byte (0 to 255)", stored("byte", "256"));
    EXPECT_EQ("-32767", stored("short", "-32767"));
    EXPECT_EQ("4294967295", stored("uint", "4294967295"));
    EXPECT_EQ("'4294967296' is not a uint (0 to 4294967295)", stored("uint", "4294967296"));
    EXPECT_EQ("'-1' is not a uint (0 to 4294967295)", stored("uint", "-1"));
    EXPECT_EQ("'2147483648' is not a long (-2147483648 to 2147483647)", stored("long", "2147483648"));
    EXPECT_EQ("18446744073709551615", stored("ullong", "18446744073709551615"));
    EXPECT_EQ("'18446744073709551616' is not a ullong (0 to 18446744073709551615)",
              stored("ullong", "18446744073709551616"));
}

TEST(TypedWord, RefusesWhatIsNoNumber) {
    for (const char *word : {"", "-", "x", "1x", " 1", "1 ", "0x10", "1.0"}) {
        EXPECT_EQ(std::string("'") + word + "' is not an int (-2147483647 to 2147483647)",
                  stored("int", word));
    }
    EXPECT_EQ("'' is not a double (a number, such as -1.5)", stored("double", ""));
    EXPECT_EQ("' 1' is not a double (a number, such as -1.5)", stored("double", " 1"));
    EXPECT_EQ("'1.5x' is not a double (a number, such as -1.5)", stored("double", "1.5x"));
}

TEST(TypedWord, StoresBooleansAndRealNumbersAsModulesDo) {
    EXPECT_EQ("true", stored("bool", "ON"));
    EXPECT_EQ("false", stored("bool", "0"));
    EXPECT_EQ("'' is not a bool (on, off, yes, no, true, false, enable, disable, 1 or 0)",
              stored("bool", ""));
    EXPECT_EQ("-0.250000", stored("float", "-2.5e-1"));
}

TEST(TypedWord, LeavesStringsAsTheyAre) {
    EXPECT_EQ(" any text ", stored("string", " any text "));
    EXPECT_EQ("", stored("string", ""));
    const std::string longest(ZNDB_VALUE_LEN - 1, 'v');
    EXPECT_EQ(longest, shown("string", longest));
}

TEST(TypedWord, ShowsAStoredTextAsModulesReadIt) {
    EXPECT_EQ("12", shown("int", " 12abc"));
    EXPECT_EQ("true", shown("bool", "enable"));
    EXPECT_EQ("'perhaps' is not a bool (on, off, yes, no, true, false, enable, disable, 1 or 0)",
              shown("bool", "perhaps"));
    EXPECT_EQ("'300' is not a byte (0 to 255)", shown("byte", "300"));
}

TEST(TypedWord, ATypeOfNoNameIsATextThatNoModuleReads) {
    EXPECT_EQ("any", stored("unit", "any"));
    EXPECT_EQ("'any' is not a string (any text)", shown("unit", "any"));
}

}  // namespace
