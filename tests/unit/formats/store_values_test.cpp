#include "formats/store_values.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Change = JournalRecord::Change;

TEST(StoreValues, ARecordSetsDeletesAndEmpties) {
    StoreValues values = {{"a", "1"}, {"b", "2"}};
    apply_record(values, {StoreId::kPlain, Change::kSet, "a", "new"});
    apply_record(values, {StoreId::kPerm, Change::kSet, "c", ""});
    EXPECT_EQ((StoreValues{{"a", "new"}, {"b", "2"}, {"c", ""}}), values);
    apply_record(values, {StoreId::kPlain, Change::kErase, "b", {}});
    apply_record(values, {StoreId::kPlain, Change::kErase, "missing", {}});
    EXPECT_EQ((StoreValues{{"a", "new"}, {"c", ""}}), values);
    apply_record(values, {StoreId::kPlain, Change::kClear, {}, {}});
    EXPECT_TRUE(values.empty());
}

TEST(StoreValues, AValueBecomesTheRecordThatItCameFrom) {
    const std::string line = "M+key= a=b ";
    JournalRecord record = {};
    ASSERT_EQ(nullptr, parse_record(line, record));
    EXPECT_EQ(line + "\n", format_record(set_record(record.store, record.key, value_of(record))));
}

TEST(StoreValues, EachStoreHasItsFileAndItsJournal) {
    EXPECT_STREQ(paths::kPlainFile, paths_of(StoreId::kPlain).file);
    EXPECT_STREQ(paths::kPlainJournal, paths_of(StoreId::kPlain).journal);
    EXPECT_STREQ(paths::kPermFile, paths_of(StoreId::kPerm).file);
    EXPECT_STREQ(paths::kPermJournal, paths_of(StoreId::kPerm).journal);
    EXPECT_STREQ(paths::kFactoryFile, paths_of(StoreId::kFactory).file);
    EXPECT_STREQ(paths::kFactoryJournal, paths_of(StoreId::kFactory).journal);
}

}  // namespace
