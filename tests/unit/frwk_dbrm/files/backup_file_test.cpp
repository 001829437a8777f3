/*
 * The backup that a restore reads: which file that is, its permissions, and what is removed.
 */
#include "frwk_dbrm/files/backup_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "support/log_checks.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/another_user.h"

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/m_data/usr/backups";
constexpr char kBackup[] = "/m_data/usr/backups/backup";
constexpr char kLink[] = "/m_data/usr/backups/link";

class BackupToRestore : public testing::Test {
  protected:
    BackupToRestore() {
        doubles::restore_all();
        fs::remove_all(kFolder);
        fs::create_directories(kFolder);
        EXPECT_EQ(0, ::chmod(kFolder, 0755));
        EXPECT_TRUE(write_text(kBackup, "sealed"));
        set_mode(0644);
    }
    ~BackupToRestore() override {
        doubles::restore_all();
        fs::remove_all(kFolder);
    }

    static void set_mode(mode_t mode) { EXPECT_EQ(0, ::chmod(kBackup, mode)); }
};

TEST_F(BackupToRestore, IsTheFileItselfClosedToOthers) {
    BackupFile backup(kBackup);
    ASSERT_TRUE(backup.open());
    EXPECT_STREQ(kBackup, backup.file());
    EXPECT_EQ(0600u, mode_of(kBackup));
}

TEST_F(BackupToRestore, GetsItsPermissionsBackWhenItIsRefused) {
    for (const mode_t mode : {0644u, 0600u}) {
        set_mode(mode);
        BackupFile backup(kBackup);
        ASSERT_TRUE(backup.open());
        backup.refuse();
        EXPECT_EQ(mode, mode_of(kBackup));
    }
}

TEST_F(BackupToRestore, IsACopyWhereAnotherUserCanReplaceTheFile) {
    give_to_another_user({kFolder});
    std::string copy;
    {
        BackupFile backup(kBackup);
        ASSERT_TRUE(backup.open());
        copy = backup.file();
        EXPECT_NE(kBackup, copy);
        EXPECT_EQ("sealed", file_text(copy));
        EXPECT_EQ(0600u, mode_of(copy.c_str()));
        EXPECT_EQ(0644u, mode_of(kBackup));
    }
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_TRUE(fs::exists(kBackup));
}

TEST_F(BackupToRestore, IsACopyOfAFileThatOthersCanWrite) {
    set_mode(0666);
    BackupFile backup(kBackup);
    ASSERT_TRUE(backup.open());
    EXPECT_STRNE(kBackup, backup.file());
}

TEST_F(BackupToRestore, IsACopyWhereTheFileSystemKeepsNoPermissions) {
    doubles::libc::fchmod.stand_in([](int, mode_t) { return 0; });
    BackupFile backup(kBackup);
    ASSERT_TRUE(backup.open());
    EXPECT_STRNE(kBackup, backup.file());
}

TEST_F(BackupToRestore, ThatCanNotBeCopiedIsNotOpened) {
    give_to_another_user({kFolder});
    doubles::libc::write.fail(ENOSPC);
    BackupFile backup(kBackup);
    EXPECT_FALSE(backup.open());
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(BackupToRestore, MustBeAFile) {
    for (const char *path : {"/m_data/usr/backups/missing", "/m_data/none/backup", kFolder}) {
        BackupFile backup(path);
        EXPECT_FALSE(backup.open()) << path;
    }
}

TEST_F(BackupToRestore, IsRemovedWithTheLinkThatLedToIt) {
    const LogCapture log;
    fs::create_symlink(kBackup, kLink);
    BackupFile backup(kLink);
    ASSERT_TRUE(backup.open());
    EXPECT_STREQ(kBackup, backup.file());
    backup.remove();
    EXPECT_FALSE(fs::exists(fs::symlink_status(kLink)));
    EXPECT_FALSE(fs::exists(kBackup));
    EXPECT_EQ("", log.text());
}

TEST_F(BackupToRestore, StaysWhenItIsNotTheOneThatWasCopied) {
    const LogCapture log;
    give_to_another_user({kFolder});
    BackupFile backup(kBackup);
    ASSERT_TRUE(backup.open());
    fs::rename(kBackup, kLink);
    ASSERT_TRUE(write_text(kBackup, "another one"));
    backup.remove();
    EXPECT_EQ("another one", file_text(kBackup));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_dbrm_restore_process",
                            "the restore file was replaced meanwhile, what is there now stays"));
}

TEST_F(BackupToRestore, ThatIsGoneIsLogged) {
    const LogCapture log;
    BackupFile backup(kBackup);
    ASSERT_TRUE(backup.open());
    fs::remove(kBackup);
    backup.remove();
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_dbrm_restore_process",
                            with_errno("remove restore file error!", ENOENT)));
}

}  // namespace
