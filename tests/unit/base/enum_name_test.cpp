#include "enum_name.h"

#include <gtest/gtest.h>

namespace {

constexpr zn_enum_item kTable[] = {
    {-1, "MINUS_ONE", 0xFFFFFFFF}, {0, "ZERO", 0xFFFFFFFF},  {7, "SEVEN", 0xFFFFFFFF},
    {7, "ALSO_SEVEN", 0xFFFFFFFF}, {8, "SEVEN", 0xFFFFFFFF},
};

}  // namespace

TEST(EnumName, HasThreeWordRows) {
    EXPECT_EQ(sizeof(const char *) == 4 ? 12u : 24u, sizeof(zn_enum_item));
}

TEST(EnumName, NamesAValue) {
    EXPECT_STREQ("MINUS_ONE", zn_enum_to_string(kTable, 5, -1));
    EXPECT_STREQ("ZERO", zn_enum_to_string(kTable, 5, 0));
}

TEST(EnumName, NamesAValueByItsFirstRow) {
    EXPECT_STREQ("SEVEN", zn_enum_to_string(kTable, 5, 7));
}

TEST(EnumName, NamesAnUnknownValueUnknown) {
    EXPECT_STREQ("unknown", zn_enum_to_string(kTable, 5, 9));
    EXPECT_STREQ("unknown", zn_enum_to_string(kTable, 2, 7));
    EXPECT_STREQ("unknown", zn_enum_to_string(nullptr, 0, 0));
}

TEST(EnumName, FindsTheValueOfAName) {
    EXPECT_EQ(0, zn_string_to_enum(kTable, 5, "ZERO"));
    EXPECT_EQ(7, zn_string_to_enum(kTable, 5, "ALSO_SEVEN"));
}

TEST(EnumName, FindsTheFirstRowOfAName) {
    EXPECT_EQ(7, zn_string_to_enum(kTable, 5, "SEVEN"));
}

TEST(EnumName, GivesMinusOneForAnUnknownName) {
    EXPECT_EQ(-1, zn_string_to_enum(kTable, 5, "zero"));
    EXPECT_EQ(-1, zn_string_to_enum(kTable, 5, "ZERO "));
    EXPECT_EQ(-1, zn_string_to_enum(kTable, 5, ""));
    EXPECT_EQ(-1, zn_string_to_enum(kTable, 5, nullptr));
    EXPECT_EQ(-1, zn_string_to_enum(nullptr, 0, "ZERO"));
}
