/*
 * A row of a name table as a test expects it.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "enum_name.h"

struct NameRow {
    int32_t value;
    const char *name;
};

/* Checks every row of a name table, and that its reserved word is all ones. */
template <size_t kRows, size_t kExpected>
void expect_table(const zn_enum_item (&table)[kRows], const NameRow (&expected)[kExpected]) {
    static_assert(kRows == kExpected);
    for (size_t i = 0; i < kRows; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(expected[i].value, table[i].value);
        EXPECT_STREQ(expected[i].name, table[i].name);
        EXPECT_EQ(0xFFFFFFFFu, table[i].reserved);
    }
}
