/*
 * Files with malformed lines: the next save cleans them, and keeps the damaged versions.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/zndb/database_fixture.h"

namespace {

const std::string kDamaged = "k=v\nrubbish\n";

class DatabaseDamage : public DatabaseFixture {
  protected:
    void SetUp() override {
        for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
            for (const std::string &kept : kept_of(path)) {
                std::filesystem::remove_all(kept);
            }
        }
        DatabaseFixture::SetUp();
    }

    static std::vector<std::string> kept_of(const std::string &path) {
        return files_beginning(path + ".damaged-");
    }

    /* Starts on a file with a damaged line. */
    void start_with_damaged(const std::string &path) {
        put_file(path, kDamaged);
        restart();
        log_.clear();
    }

    /* Expects a refusal that changes and leaves nothing. */
    void expect_reset_refused(int32_t result) {
        EXPECT_EQ(result, database_->reset());
        end_faults();
        EXPECT_EQ("v", plain("k"));
        EXPECT_EQ(kDamaged, content_of(kPlainFile));
        EXPECT_TRUE(kept_of(kPlainFile).empty());
        EXPECT_FALSE(exists(kPlainFile + ".tmp"));
        EXPECT_EQ("", journals());
    }

    /* Expects the cleaned file, the damaged one beside it, and one warning. */
    void expect_cleaned(const std::string &path, const std::string &content = "k=v\n") {
        EXPECT_EQ(content, content_of(path));
        ASSERT_EQ(1u, kept_of(path).size());
        EXPECT_EQ(kDamaged, content_of(kept_of(path)[0]));
        EXPECT_EQ(
            (std::vector<std::string>{path + " was damaged: the old file is kept as " + kept_of(path)[0]}),
            warnings(log_));
    }
};

TEST_F(DatabaseDamage, ASaveWithoutAnyChangeCleansTheFilesAndKeepsTheDamagedOnes) {
    for (const std::string &path : {kPlainFile, kPermFile}) {
        start_with_damaged(path);
        EXPECT_EQ(0, database_->save());
        expect_cleaned(path);
    }
    start_with_damaged(kFactoryFile);
    EXPECT_EQ(0, database_->save_factory());
    expect_cleaned(kFactoryFile);
}

TEST_F(DatabaseDamage, TheSaveBeforeThePowerGoesOffCleansToo) {
    start_with_damaged(kPermFile);
    EXPECT_EQ(0, database_->save_before_power_off());
    expect_cleaned(kPermFile);
}

TEST_F(DatabaseDamage, ACleanedFileIsLeftAlone) {
    start_with_damaged(kPlainFile);
    EXPECT_EQ(0, database_->save());
    put_file(kPlainFile, "# by hand\nk=v\n");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("# by hand\nk=v\n", content_of(kPlainFile));
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "new"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
}

TEST_F(DatabaseDamage, AResetKeepsTheDamagedFileToo) {
    start_with_damaged(kPlainFile);
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    expect_cleaned(kPlainFile, "");
}

TEST_F(DatabaseDamage, ACleaningThatFailsLeavesTheFileAndIsDoneByTheNextSave) {
    start_with_damaged(kPlainFile);
    fail_rename(EIO);
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ(kDamaged, content_of(kPlainFile));
    EXPECT_TRUE(kept_of(kPlainFile).empty());
    log_.clear();
    EXPECT_EQ(0, database_->save());
    expect_cleaned(kPlainFile);
}

TEST_F(DatabaseDamage, AFileThatCantBeKeptIsNotReplaced) {
    start_with_damaged(kPlainFile);
    fail_link(EPERM);
    fail_open(kPlainFile, EIO);
    EXPECT_EQ(0, database_->set(P, "new", "1"));
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ(kDamaged, content_of(kPlainFile));
    EXPECT_TRUE(log_.contains("can't save " + kPlainFile + " errno=5")) << log_.text();
}

/* The save after the reset would fail, and leave the device without its settings. */
TEST_F(DatabaseDamage, AResetIsRefusedWhereTheDamagedFileCantBeKept) {
    start_with_damaged(kPlainFile);
    fail_link(ENOSPC);
    fail_opens([](const std::string &path) { return path.find(".damaged-") != path.npos ? ENOSPC : 0; });
    expect_reset_refused(6);
}

TEST_F(DatabaseDamage, AResetIsRefusedWhereAllNamesOfDamagedFilesAreTaken) {
    start_with_damaged(kPlainFile);
    fail_link(EEXIST);
    expect_reset_refused(2007);
}

/* The damaged file keeps its room, so that the settings need as much again. */
TEST_F(DatabaseDamage, AResetIsRefusedWhereTheDamagedFileFillsTheDisk) {
    start_with_damaged(kPlainFile);
    fill_disk_of("/m_data/usr/db");
    expect_reset_refused(6);
}

TEST_F(DatabaseDamage, AResetIsRefusedWhereADamagedFileCantBeRemovedAgain) {
    start_with_damaged(kPlainFile);
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EPERM;
        return -1;
    });
    EXPECT_EQ(2006, database_->reset());
    end_faults();
    EXPECT_EQ("v", plain("k"));
}

/* The file is the new one already, so that there is no damage left to keep. */
TEST_F(DatabaseDamage, ACleaningWhoseFolderWasNotSyncedIsSyncedByTheNextSave) {
    std::filesystem::create_directories("/m_data/usr/db");
    start_with_damaged(kPlainFile);
    fail_folder_sync();
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
    expect_saved_again();
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(0u, doubles::libc::fsync.calls());
}

/* It may have more than the store. */
TEST_F(DatabaseDamage, AFileThatWasNotReadWholeIsNotCleaned) {
    put_file(kPermFile, kDamaged + full_file());
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_TRUE(kDamaged + full_file() == content_of(kPermFile));
    EXPECT_TRUE(kept_of(kPermFile).empty());
}

TEST_F(DatabaseDamage, AFileWithTooManyKeysIsKeptWhenAResetReplacesIt) {
    const std::string content = full_file() + "one more=1\n";
    put_file(kPlainFile, content);
    restart();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", content_of(kPlainFile));
    ASSERT_EQ(1u, kept_of(kPlainFile).size());
    EXPECT_TRUE(content == content_of(kept_of(kPlainFile)[0]));
}

TEST_F(DatabaseDamage, DamagedDefaultsAreNeverWritten) {
    put_file(kDefaultsFile, kDamaged);
    restart();
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ(kDamaged, content_of(kDefaultsFile));
}

}  // namespace
