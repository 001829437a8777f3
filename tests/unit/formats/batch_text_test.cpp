#include "formats/batch_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Change = JournalRecord::Change;

/* The changes as journal lines, or "dropped". */
std::string parsed(const std::string &text) {
    std::vector<JournalRecord> changes;
    if (!parse_batch(text, changes)) {
        return "dropped";
    }
    std::string lines;
    for (const JournalRecord &change : changes) {
        lines += format_record(change);
    }
    return lines;
}

}  // namespace

TEST(BatchText, IsTheJournalsLinesAndTheirNumber) {
    EXPECT_EQ("P+a=1\nM-b\n=2\n", format_batch({{StoreId::kPlain, Change::kSet, "a", "1"},
                                                {StoreId::kPerm, Change::kErase, "b", ""}}));
    EXPECT_EQ("P+a=1\nM-b\n", parsed("P+a=1\nM-b\n=2\n"));
}

TEST(BatchText, CutOffAnywhereIsDropped) {
    const std::string text = "P+a=1\nP+b==1\nF-c\n=3\n";
    for (size_t size = 0; size < text.size(); ++size) {
        EXPECT_EQ("dropped", parsed(text.substr(0, size))) << size;
    }
    EXPECT_EQ("P+a=1\nP+b==1\nF-c\n", parsed(text));
}

TEST(BatchText, OfAnotherFormIsDropped) {
    EXPECT_EQ("dropped", parsed("=0\n"));
    EXPECT_EQ("dropped", parsed("P+a=1\n=2\n"));
    EXPECT_EQ("dropped", parsed("P+a=1\n=1\nP+b=1\n"));
    EXPECT_EQ("dropped", parsed("garbage\nP+a=1\n=2\n"));
}

TEST(BatchText, HasAtMostTheChangesOfThreeStores) {
    std::vector<JournalRecord> changes(kBatchChangesMax, {StoreId::kPlain, Change::kSet, "k", "v"});
    const std::string text = format_batch(changes);
    EXPECT_NE("dropped", parsed(text));
    changes.push_back(changes[0]);
    EXPECT_EQ("dropped", parsed(format_batch(changes)));
}

TEST(BatchText, WithTheLongestTextsIsTheLongestText) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    const size_t line = format_batch({{StoreId::kPlain, Change::kSet, key, value}}).size() - 3;
    EXPECT_EQ(kBatchTextMax, kBatchChangesMax * line + 7);
}
