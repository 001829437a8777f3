/*
 * The file that a backup is written to: where it is, who may read it, and how it becomes the target.
 */
#include "frwk_dbrm/files/backup_target.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/file_info.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/another_user.h"

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/m_data/usr/backups";
constexpr char kTarget[] = "/m_data/usr/backups/backup";
constexpr char kUnfinished[] = "/m_data/usr/backups/backup.unfinished";

uint64_t body_size() {
    return 1000;
}

class NewBackup : public testing::Test {
  protected:
    NewBackup() {
        doubles::restore_all();
        fs::remove_all(kFolder);
        fs::create_directories(kFolder);
        EXPECT_EQ(0, ::chmod(kFolder, 0755));
    }
    ~NewBackup() override {
        doubles::restore_all();
        fs::remove_all(kFolder);
    }

    static void write_body(UniqueFile file) {
        ASSERT_TRUE(file);
        EXPECT_EQ(6u, std::fwrite("sealed", 1, 6, file.get()));
    }
    static void expect_none(int error, const char *path) {
        EXPECT_FALSE(BackupTarget(path).create(body_size));
        EXPECT_EQ(error, errno) << path;
    }
};

TEST_F(NewBackup, IsWrittenBesideItsTargetForItsOwnerOnly) {
    ASSERT_TRUE(write_text(kTarget, "old"));
    BackupTarget target(kTarget);
    write_body(target.create(body_size));
    EXPECT_STREQ(kUnfinished, target.path());
    EXPECT_EQ(0600u, mode_of(kUnfinished));
    EXPECT_EQ("old", file_text(kTarget));
}

TEST_F(NewBackup, TakesThePlaceOfItsTarget) {
    ASSERT_TRUE(write_text(kTarget, "old"));
    {
        BackupTarget target(kTarget);
        write_body(target.create(body_size));
        EXPECT_TRUE(target.deliver());
        EXPECT_TRUE(target.take_place());
    }
    EXPECT_EQ("sealed", file_text(kTarget));
    EXPECT_FALSE(fs::exists(kUnfinished));
}

TEST_F(NewBackup, ThatIsNotFinishedIsRemoved) {
    ASSERT_TRUE(write_text(kTarget, "old"));
    { write_body(BackupTarget(kTarget).create(body_size)); }
    EXPECT_FALSE(fs::exists(kUnfinished));
    EXPECT_EQ("old", file_text(kTarget));
}

TEST_F(NewBackup, ReplacesTheLeftoverOfAKilledProcess) {
    ASSERT_TRUE(write_text(kUnfinished, "half of an older backup"));
    BackupTarget target(kTarget);
    write_body(target.create(body_size));
    EXPECT_EQ("sealed", file_text(kUnfinished));
}

TEST_F(NewBackup, IsWrittenPrivatelyWhereAnotherUserCanReplaceFiles) {
    give_to_another_user({kFolder});
    BackupTarget target(kTarget);
    write_body(target.create(body_size));
    EXPECT_EQ(std::string::npos, std::string(target.path()).find(kFolder));
    EXPECT_TRUE(fs::is_empty(kFolder));
    EXPECT_TRUE(target.deliver());
    EXPECT_TRUE(target.take_place());
    EXPECT_EQ("sealed", file_text(kTarget));
}

TEST_F(NewBackup, IsNotDeliveredToAFullDisk) {
    give_to_another_user({kFolder});
    {
        BackupTarget target(kTarget);
        write_body(target.create(body_size));
        doubles::libc::write.fail(ENOSPC);
        EXPECT_FALSE(target.deliver());
        EXPECT_EQ(ENOSPC, errno);
    }
    EXPECT_TRUE(fs::is_empty(kFolder));
}

TEST_F(NewBackup, IsNotBegunWhereItCouldNotTakeItsPlace) {
    expect_none(ENOENT, "/m_data/none/backup");
    expect_none(EISDIR, kFolder);
    const std::string long_name = std::string(kFolder) + "/" + std::string(NAME_MAX - 2, 'n');
    expect_none(ENAMETOOLONG, long_name.c_str());
    EXPECT_TRUE(fs::is_empty(kFolder));
}

TEST_F(NewBackup, RemovesItsTargetUnlessThatIsAFolder) {
    ASSERT_TRUE(write_text(kTarget, "old"));
    BackupTarget target(kTarget);
    ASSERT_TRUE(target.create(body_size));
    target.remove_target();
    EXPECT_FALSE(fs::exists(kTarget));
    fs::create_directory(kTarget);
    target.remove_target();
    EXPECT_TRUE(fs::exists(kTarget));
}

/* Without a folder there is nothing to remove from. */
TEST_F(NewBackup, RemovesNothingBeforeItsTargetWasFound) {
    ASSERT_TRUE(write_text(kTarget, "old"));
    BackupTarget(kTarget).remove_target();
    EXPECT_EQ("old", file_text(kTarget));
}

}  // namespace
