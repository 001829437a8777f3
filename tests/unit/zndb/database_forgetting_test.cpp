/*
 * Keys that are set and deleted again: no file holds most of them, and then nothing is left of them; one that
 * a file may hold, now or after a power cut, stays deleted.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

/* Some keys, each only once. */
constexpr int kManyKeys = 20000;

class DatabaseForgetting : public DatabaseFixture {
  protected:
    void set_and_delete_many() {
        for (int i = 0; i < kManyKeys; ++i) {
            ASSERT_EQ(0, database_->set(P, std::to_string(i), "v"));
            ASSERT_EQ(0, database_->erase(P, std::to_string(i)));
        }
    }

    /* The save fails, and its file is in place; not so where it had to make the folder. */
    void save_without_folder_sync() {
        std::filesystem::create_directories("/m_data/usr/db");
        fail_folder_sync();
        EXPECT_EQ(2007, database_->save());
        end_faults();
    }
};

TEST_F(DatabaseForgetting, KeysThatComeAndGoLeaveNothing) {
    set_and_delete_many();
    EXPECT_LE(std::filesystem::file_size(kPlainJournal), kJournalSmall + 2000);
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("", journals());
    EXPECT_EQ(0, database_->save());
    EXPECT_FALSE(exists(kPlainFile));
}

/* A large journal is shortened seldom for its size, and a successor counts each delete in it as a change. */
TEST_F(DatabaseForgetting, ASuccessorIsNotHandedMoreDeletesThanAStoreHasKeys) {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(0, database_->set(M, std::to_string(i), std::string(1000, 'v')));
    }
    EXPECT_EQ(0, database_->save_ram());
    set_and_delete_many();
    restart();
    EXPECT_EQ(0, database_->save_ram());
    const std::string journal = journals();
    size_t deletes = 0;
    for (size_t at = journal.find("P-"); at != std::string::npos; at = journal.find("P-", at + 1)) {
        ++deletes;
    }
    EXPECT_GT(deletes, 0u);
    EXPECT_LE(deletes, kStoreKeysMax);
}

TEST_F(DatabaseForgetting, KeysThatComeAndGoAfterASaveOrAResetLeaveNothing) {
    put_file(kPlainFile, "kept=1\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "saved", "1"));
    EXPECT_EQ(0, database_->save());
    set_and_delete_many();
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("", journals());

    EXPECT_EQ(0, database_->reset());
    set_and_delete_many();
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P!\n", journals());
}

/* The most changes that there can be while the file is known: none of them may be refused. */
TEST_F(DatabaseForgetting, AllKeysOfAFullStoreCanBeReplacedWithoutASave) {
    put_file(kPlainFile, full_file());
    restart();
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        ASSERT_EQ(0, database_->erase(P, std::to_string(i)));
        ASSERT_EQ(0, database_->set(P, "new" + std::to_string(i), "v"));
    }
    EXPECT_EQ(0, database_->erase(P, "new0"));
    EXPECT_EQ(0, database_->set(P, "newer", "v"));
    EXPECT_EQ(0, database_->erase(P, "newer"));
    EXPECT_EQ(0, database_->set(P, "0", "v"));
}

TEST_F(DatabaseForgetting, AKeyOfTheFileStaysDeleted) {
    put_file(kPlainFile, "k=old\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "new"));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P-k\n", journals());
    restart();
    EXPECT_EQ(kMissing, plain("k"));
}

TEST_F(DatabaseForgetting, AKeyThatAFailedSavePutInTheFileStaysDeleted) {
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    save_without_folder_sync();
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P-k\n", journals());
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
}

TEST_F(DatabaseForgetting, KeysThatComeAndGoAfterAFailedSaveLeaveNothing) {
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    save_without_folder_sync();
    set_and_delete_many();
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P+k=v\n", journals());
}

/*
 * One save put the key into the file, the next took it out, neither was synced, and the service was killed
 * before it had shortened the journal. The file that is read lacks the key; the one that a power cut brings
 * back may have it.
 */
TEST_F(DatabaseForgetting, AKeyThatCameAndWentBeforeACrashIsSavedByTheSuccessor) {
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    save_without_folder_sync();
    EXPECT_EQ(0, database_->erase(P, "k"));
    const std::string journal = journals();
    EXPECT_EQ("P+k=v\nP-k\n", journal);
    save_without_folder_sync();
    EXPECT_EQ("", saved_lines(kPlainFile));
    put_file(kPlainJournal, journal);
    restart();
    expect_saved_again();
    EXPECT_EQ("", journals());
}

}  // namespace
