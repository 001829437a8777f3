#include "journal_content.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class JournalContentTest : public testing::Test {
  protected:
    const char *take(const std::string &line) {
        JournalRecord record = {};
        EXPECT_EQ(nullptr, parse_record(line, record)) << line;
        return content_.take(record);
    }

    /* What is handed out of these records, as lines. */
    std::string in_the_end(const std::vector<std::string> &lines) {
        for (const std::string &line : lines) {
            EXPECT_EQ(nullptr, take(line));
        }
        std::string all;
        content_.hand_out([&all](const JournalRecord &record) { all += format_record(record); });
        return all;
    }

    JournalContent content_{StoreId::kPlain};
};

TEST_F(JournalContentTest, NothingSaysNothing) {
    EXPECT_EQ("", in_the_end({}));
}

TEST_F(JournalContentTest, OfAKeyTheLastRecordHolds) {
    EXPECT_EQ("P+a=2\nP-b\nP+c=3\n", in_the_end({"P+a=1", "P+b=1", "P-c", "P+a=2", "P-b", "P+c=3"}));
}

TEST_F(JournalContentTest, TheStoresAreApart) {
    for (const char *line : {"F+k=3", "M-k", "M!"}) {
        EXPECT_STREQ("it is of another store", take(line));
    }
    EXPECT_EQ("P+k=1\n", in_the_end({"P+k=1"}));
}

TEST_F(JournalContentTest, ResetsEndWhatCameBefore) {
    EXPECT_EQ("P!\nP+b=2\nP-c\n", in_the_end({"P+a=1", "P!", "P+b=1", "P!", "P+b=2", "P-c"}));
}

TEST_F(JournalContentTest, HandingOutForgets) {
    EXPECT_EQ("P!\nP+k=1\n", in_the_end({"P!", "P+k=1"}));
    EXPECT_EQ("", in_the_end({}));
}

/* A journal of nothing but new keys must not take all memory. */
TEST_F(JournalContentTest, TheKeysOfAStoreAreLimited) {
    for (size_t i = 0; i < kJournalKeysMax; ++i) {
        ASSERT_EQ(nullptr, take("P-" + std::to_string(i)));
    }
    EXPECT_STREQ("there are too many keys", take("P+one more=1"));
    EXPECT_STREQ("there are too many keys", take("P-one more"));
    EXPECT_EQ(nullptr, take("P+7=1"));
    EXPECT_EQ(nullptr, take("P!"));
    EXPECT_EQ(nullptr, take("P+one more=1"));
}

}  // namespace
