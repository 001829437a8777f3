#include "zndb_tool/store_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

constexpr char kJournal[] = "/tmp/m_tmp/zndb/journal.plain";

class StoreFiles : public testing::Test {
  protected:
    StoreFiles() {
        fs::remove_all("/tmp/m_tmp/zndb");
        fs::create_directories("/tmp/m_tmp/zndb");
        fs::create_directories("/m_data/usr/db");
        fs::remove("/m_data/usr/db/user_data.txt");
    }

    /* The plain store as lines, or why it can't be read. */
    static std::string plain() {
        Entries entries;
        const std::string problem = read_store(Store::kPlain, &entries);
        return problem.empty() ? format_entries(entries) : problem;
    }
};

TEST_F(StoreFiles, ADamagedLineIsPassedOver) {
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", "a=1\nno entry\nb=2\n"));
    EXPECT_EQ("a=1\nb=2\n", plain());
}

TEST_F(StoreFiles, ALineThatTheDatabaseSkipsIsPassedOver) {
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", " a=1\nb=2\r\nc=3\r\r\n"));
    ASSERT_TRUE(write_text(kJournal, "P+ d=4\nP+e=5\r\nP-\nP!b\nP+f=6\n"));
    EXPECT_EQ("b=2\nf=6\n", plain());
}

TEST_F(StoreFiles, ALineOfTheJournalThatMeansNothingIsPassedOver) {
    ASSERT_TRUE(write_text(kJournal, "P+a=1\nP\nP?b=2\nM+c=3\nP+d=4\n"));
    EXPECT_EQ("a=1\nd=4\n", plain());
}

TEST_F(StoreFiles, ALastLineOfTheJournalWithoutItsEndDoesNotCount) {
    ASSERT_TRUE(write_text(kJournal, "P+a=1\nP+b=2"));
    EXPECT_EQ("a=1\n", plain());
}

TEST_F(StoreFiles, TheJournalOfAnOlderServiceHasTheLastWord) {
    ASSERT_TRUE(write_text(kJournal, "P+a=1\nP+b=2\nP+c"));
    ASSERT_TRUE(write_text("/tmp/m_tmp/zndb/journal", "M+a=3\nP+b=4\nP+d"));
    EXPECT_EQ("a=1\nb=4\n", plain());
}

TEST_F(StoreFiles, AJournalThatNeverHoldsStillIsSaidSo) {
    fs::create_symlink("/proc/sys/kernel/random/uuid", kJournal); /* another text at each look */
    EXPECT_EQ("the database changes faster than it can be read", plain());
}

TEST_F(StoreFiles, AJournalThatCannotBeReadIsSaidSo) {
    fs::create_directory(kJournal);
    EXPECT_EQ("can't read /tmp/m_tmp/zndb/journal.plain: Is a directory", plain());
}

}  // namespace
