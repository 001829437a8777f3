#include "zndb_tool/store_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

constexpr char kJournal[] = "/tmp/m_tmp/zndb/journal.plain";
constexpr char kBatch[] = "/tmp/m_tmp/zndb/journal.batch";

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
        const std::string problem = read_store_files(Store::kPlain, &entries);
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

TEST_F(StoreFiles, ABatchThatWasInterruptedHasTheLastWord) {
    ASSERT_TRUE(write_text(kJournal, "P+a=1\nP+b=2\n"));
    ASSERT_TRUE(write_text("/tmp/m_tmp/zndb/journal", "P+a=3\n"));
    ASSERT_TRUE(write_text(kBatch, "P+a=4\nM+a=5\nP-b\nP+c=6\n=4\n"));
    EXPECT_EQ("a=4\nc=6\n", plain());
}

TEST_F(StoreFiles, ABatchWithoutItsLastLineWasNeverAnswered) {
    ASSERT_TRUE(write_text(kJournal, "P+a=1\n"));
    for (const char *text : {"P+a=2\nP+b=3\n", "P+a=2\nP+b=3\n=2", "P+a=2\nP+b=3\n=3\n", "=0\n"}) {
        ASSERT_TRUE(write_text(kBatch, text));
        EXPECT_EQ("a=1\n", plain()) << text;
    }
}

TEST_F(StoreFiles, ABatchThatCannotBeReadIsSaidSo) {
    fs::create_directory(kBatch);
    EXPECT_EQ("can't read /tmp/m_tmp/zndb/journal.batch: Is a directory", plain());
}

TEST_F(StoreFiles, TheDefaultsOfTheImageAreReadAlone) {
    fs::create_directories("/m_webui/usr/db");
    ASSERT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "d=1\n"));
    fs::create_directories("/m_data/factor");
    ASSERT_TRUE(write_text("/m_data/factor/factor_data.txt", "f=1\n"));
    Entries entries;
    EXPECT_EQ("", read_image_defaults(&entries));
    EXPECT_EQ("d=1\n", format_entries(entries));
    fs::remove("/m_webui/usr/db/default_data.txt");
    fs::create_directory("/m_webui/usr/db/default_data.txt");
    EXPECT_EQ("can't read /m_webui/usr/db/default_data.txt: Is a directory", read_image_defaults(&entries));
    EXPECT_EQ("d=1\n", format_entries(entries));
    fs::remove("/m_webui/usr/db/default_data.txt");
    fs::remove("/m_data/factor/factor_data.txt");
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
