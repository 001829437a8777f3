#include "formats/journal_record.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Change = JournalRecord::Change;

TEST(JournalRecord, TheLinesAreThese) {
    EXPECT_EQ("P+key=value\n", format_record({StoreId::kPlain, Change::kSet, "key", "value"}));
    EXPECT_EQ("M-key\n", format_record({StoreId::kPerm, Change::kErase, "key", ""}));
    EXPECT_EQ("F+key=\n", format_record({StoreId::kFactory, Change::kSet, "key", ""}));
    EXPECT_EQ("P!\n", format_record({StoreId::kPlain, Change::kClear, "", ""}));
}

TEST(JournalRecord, ReadsWhatItWrites) {
    for (const StoreId store : kStoreIds) {
        const JournalRecord records[] = {{store, Change::kSet, "k", "a=b "},
                                         {store, Change::kErase, "k", ""},
                                         {store, Change::kClear, "", ""}};
        for (const JournalRecord &written : records) {
            std::string line = format_record(written);
            line.pop_back();
            JournalRecord read = {};
            ASSERT_EQ(nullptr, parse_record(line, read)) << line;
            EXPECT_EQ(written.store, read.store);
            EXPECT_EQ(written.change, read.change);
            EXPECT_EQ(written.key, read.key);
            EXPECT_EQ(written.value, read.value);
        }
    }
}

TEST(JournalRecord, KnowsTheLengthOfItsLine) {
    for (const JournalRecord &record : {JournalRecord{StoreId::kPlain, Change::kSet, "key", "value"},
                                        {StoreId::kPerm, Change::kSet, "k", ""},
                                        {StoreId::kFactory, Change::kErase, "key", ""},
                                        {StoreId::kPlain, Change::kClear, "", ""}}) {
        EXPECT_EQ(format_record(record).size(), record_size(record)) << format_record(record);
    }
}

TEST(JournalRecord, TheLongestLineSetsTheLongestValue) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    EXPECT_EQ(kRecordLineMax + 1, format_record({StoreId::kPlain, Change::kSet, key, value}).size());
}

TEST(JournalRecord, RefusesDamagedLines) {
    JournalRecord record = {StoreId::kPerm, Change::kErase, "old", ""};
    for (const char *line : {"", "P", "X+k=v", "p+k=v", "P*k", "P+", "P+k", "P+=v", "P-", "P-a=b", "P!k"}) {
        EXPECT_NE(nullptr, parse_record(line, record)) << line;
    }
    EXPECT_EQ(StoreId::kPerm, record.store);
    EXPECT_EQ("old", record.key);
}

TEST(JournalRecord, RefusesTextsThatAreTooLong) {
    JournalRecord record = {};
    EXPECT_NE(nullptr, parse_record("P-" + std::string(32, 'k'), record));
    EXPECT_NE(nullptr, parse_record("P+k=" + std::string(1024, 'v'), record));
    EXPECT_EQ(nullptr, parse_record("P+" + std::string(31, 'k') + "=" + std::string(1023, 'v'), record));
}

}  // namespace
