/*
 * The index of a name table finds what a search through its rows in order finds.
 */
#include "enums/name_index.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr zn_enum_item kTable[] = {
    {7, "SEVEN", 0xFFFFFFFFu},
    {-1, "MINUS_ONE", 0xFFFFFFFFu},
    {INT32_MIN, "LEAST", 0xFFFFFFFFu},
    {INT32_MAX, "MOST", 0xFFFFFFFFu},
    {7, "SEVEN_AGAIN", 0xFFFFFFFFu},
    {8, "SEVEN", 0xFFFFFFFFu},
    {0, "", 0xFFFFFFFFu},
    {9, "NINE", 0xFFFFFFFFu},
    {16, "NINEA", 0xFFFFFFFFu},
};
constexpr auto kIndex = name_index::make(kTable);

const char *name_of(int32_t value) {
    return name_index::name_of(kTable, kIndex, value);
}

int32_t value_of(const char *name) {
    return name_index::value_of(kTable, kIndex, name);
}

TEST(NameIndex, FindsTheFirstRowOfAValueThatStandsTwice) {
    EXPECT_STREQ("SEVEN", name_of(7));
}

TEST(NameIndex, FindsTheFirstRowOfANameThatStandsTwice) {
    EXPECT_EQ(7, value_of("SEVEN"));
}

TEST(NameIndex, FindsTheLeastAndTheGreatestNumber) {
    EXPECT_STREQ("LEAST", name_of(INT32_MIN));
    EXPECT_STREQ("MOST", name_of(INT32_MAX));
    EXPECT_STREQ("MINUS_ONE", name_of(-1));
}

TEST(NameIndex, FindsTheEmptyName) {
    EXPECT_EQ(0, value_of(""));
}

TEST(NameIndex, TellsNamesApartThatBeginAlike) {
    EXPECT_EQ(9, value_of("NINE"));
    EXPECT_EQ(16, value_of("NINEA"));
    EXPECT_EQ(-1, value_of("NIN"));
    EXPECT_EQ(-1, value_of("NINEB"));
}

TEST(NameIndex, AnswersAMissAsTheBaseLibraryDoes) {
    EXPECT_STREQ(zn_enum_to_string(kTable, std::size(kTable), 10), name_of(10));
    EXPECT_EQ(zn_string_to_enum(kTable, std::size(kTable), "TEN"), value_of("TEN"));
    EXPECT_EQ(zn_string_to_enum(kTable, std::size(kTable), nullptr), value_of(nullptr));
}

TEST(NameIndex, HashesEveryCharacter) {
    const std::string name = "E_APPS_MSG_ROUTER_HOSTS_INFO_REQ";
    for (size_t place = 0; place < name.size(); ++place) {
        std::string other = name;
        other[place] = '#';
        EXPECT_NE(name_index::hash_of_name(name), name_index::hash_of_name(other)) << place;
    }
}

}  // namespace
