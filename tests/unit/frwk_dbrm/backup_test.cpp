/*
 * Complete backups: their content, and the files after a failure.
 */
#include <sys/stat.h>

#include <climits>
#include <cstring>

#include "doubles/libc_doubles.h"
#include "frwk_dbrm.h"
#include "support/open_descriptors.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::header;
using backup_bytes::packed;
using backup_bytes::record;

class Backup : public DbrmTest {
  protected:
    void SetUp() override {
        DbrmTest::SetUp();
        write(kUserData, "a=1\n");
        write(kDataManager, "database");
    }

    static std::string user_record() { return record(2, kUserData, "a=1\n"); }
    static std::string manager_record() { return record(1, kDataManager, "database"); }

    void expect_warning(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, function, text));
    }

    /* A backup that fails leaves nothing, not even what was there before. */
    void expect_failure(apps_err_e_type expected) {
        write(kBackup, "an older backup");
        EXPECT_EQ(expected, frwk_dbrm_backup(kBackup));
        EXPECT_FALSE(exists(kBackup));
        EXPECT_FALSE(exists(kGrowing));
    }
};

TEST_F(Backup, HoldsUserDataAndDataManagerBehindEachOtherAndATrailer) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup));
    EXPECT_FALSE(exists(kGrowing));
}

TEST_F(Backup, HoldsTheWebAccountsInBetweenWhenThatIsSet) {
    store("webs_backup_account", "true");
    write(kAccounts, "accounts");
    write(kKeys, "keys");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(
        packed(user_record() + record(1, kAccounts, "accounts") + record(1, kKeys, "keys") + manager_record(),
               kMagic),
        file_text(kBackup));
}

TEST_F(Backup, HasThreeRecordsWhereThereAreAccountsButNoKeys) {
    store("webs_backup_account", "true");
    write(kAccounts, "accounts");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(packed(user_record() + record(1, kAccounts, "accounts") + manager_record(), kMagic),
              file_text(kBackup));
}

TEST_F(Backup, HoldsMissingAccountsAsAnEmptyRecord) {
    store("webs_backup_account", "true");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(packed(user_record() + header(1, kAccounts, 0) + manager_record(), kMagic), file_text(kBackup));
}

TEST_F(Backup, LeavesTheAccountsOutForAnyOtherSettingThanTrue) {
    write(kAccounts, "accounts");
    write(kKeys, "keys");
    for (const char *setting : {"True", "TRUE", "1", "", "tru", "true ", " true", "truetrue"}) {
        store("webs_backup_account", setting);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup)) << setting;
    }
}

TEST_F(Backup, AsksForTheAccountsSettingOnceWithRoomForEightBytes) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    ASSERT_EQ(2u, database().requests.size());
    EXPECT_EQ("webs_backup_account", database().requests[0].key);
    EXPECT_EQ(8u, database().requests[0].size);
}

TEST_F(Backup, ReplacesAnOlderOne) {
    write(kBackup, std::string(10000, 'x'));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup));
}

TEST_F(Backup, IsReadableByItsOwnerOnly) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    struct stat info = {};
    ASSERT_EQ(0, ::stat(kBackup, &info));
    EXPECT_EQ(0600u, info.st_mode & 0777u);
}

TEST_F(Backup, ClearsUpAfterAKilledOne) {
    write(kGrowing, "half a backup");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_FALSE(exists(kGrowing));
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup));
}

TEST_F(Backup, FollowsNoLinkThatLiesInItsWay) {
    write("/m_data/usr/precious", "precious");
    std::filesystem::create_symlink("/m_data/usr/precious", kGrowing);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ("precious", file_text("/m_data/usr/precious"));
}

TEST_F(Backup, TakesItsNameOnlyWhenItIsEnciphered) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *path) {
        EXPECT_STREQ(kGrowing, path);
        EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(path));
        EXPECT_FALSE(exists(kBackup));
        return write_text(path, "enciphered") ? 1 : 0;
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ("enciphered", file_text(kBackup));
}

TEST_F(Backup, OutlastsAPowerCutUnderItsName) {
    std::string synced;
    doubles::libc::fsync.stand_in([&synced](int fd) {
        EXPECT_TRUE(exists(kBackup));
        synced = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
        return doubles::libc::fsync.real(fd);
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ("/m_data/usr", synced);
}

TEST_F(Backup, InAFolderThatCanNotBeSyncedIsABackup) {
    doubles::libc::fsync.fail(EINVAL);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup));
}

TEST_F(Backup, TakesAPathWithoutAFolder) {
    std::filesystem::current_path("/m_data/usr");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup("backup.bin"));
    std::filesystem::current_path("/");
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(kBackup));
}

TEST_F(Backup, RefusesANullPath) {
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_dbrm_backup(nullptr));
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(Backup, OfAPathThatCanNotBeCreatedIsAnIoError) {
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup("/m_data/usr/missing/backup.bin"));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENOENT));
    expect_warning("frwk_dbrm_backup", "backup process failed!");
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(Backup, OfAnEmptyPathIsAnIoErrorAndTouchesNothing) {
    write("/m_data/usr/.unfinished", "another's");
    std::filesystem::current_path("/m_data/usr");
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(""));
    std::filesystem::current_path("/");
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENOENT));
    expect_warning("frwk_dbrm_backup", "backup process failed!");
    EXPECT_TRUE(database().requests.empty());
    EXPECT_EQ("another's", file_text("/m_data/usr/.unfinished"));
}

TEST_F(Backup, InAFoldersPlaceIsAnIoErrorAndTheFolderStays) {
    std::filesystem::create_directory(kBackup);
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(kBackup));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", EISDIR));
    EXPECT_TRUE(std::filesystem::is_directory(kBackup));
}

TEST_F(Backup, OfAPathThatIsTooLongIsAnIoError) {
    const std::string path = "/m_data/usr/" + std::string(5000, 'p');
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(path.c_str()));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENAMETOOLONG));
}

TEST_F(Backup, OfAPathWithoutRoomForTheUnfinishedFilesNameIsAnIoError) {
    std::string path = "/m_data/usr/";
    while (path.size() < PATH_MAX - 4) {
        path += "./";
    }
    path += "p";
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(path.c_str()));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENAMETOOLONG));
}

TEST_F(Backup, TakesANameOf244Characters) {
    const std::string path = "/m_data/usr/" + std::string(244, 'n');
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(path.c_str()));
    EXPECT_EQ(packed(user_record() + manager_record(), kMagic), file_text(path));
}

TEST_F(Backup, OfALongerNameIsAnIoErrorThoughTheNameAloneWouldDo) {
    for (const size_t length : {245u, 255u}) {
        log().clear();
        const std::string path = "/m_data/usr/" + std::string(length, 'n');
        write(path, "a file may have this name");
        EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(path.c_str()));
        expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENAMETOOLONG));
        expect_warning("frwk_dbrm_backup", "backup process failed!");
    }
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(Backup, NamesTheSourceThatFailed) {
    refuse_to_open(kDataManager, "rbe", EACCES);
    expect_failure(E_APPS_ERR_IO);
    expect_warning("frwk_dbrm_backup_process", std::string("backup file '") + kDataManager + "' failed!");
    expect_warning("frwk_dbrm_backup", "backup process failed!");
}

TEST_F(Backup, EndsWithTheCodeOfTheRecordThatFailed) {
    fill_disk_after(1);
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup_process", std::string("backup file '") + kUserData + "' failed!");
}

TEST_F(Backup, ThatCanNotBeClosedIsAWriteError) {
    doubles::libc::fflush.fail(EIO);
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup_process", with_errno("write backup target file error!", EIO));
    expect_warning("frwk_dbrm_backup", "backup process failed!");
}

TEST_F(Backup, WithoutAProductNameIsAnInternalError) {
    database().plain.clear();
    expect_failure(E_APPS_ERR_INTERNAL);
    expect_warning("frwk_dbrm_backup", "backup compression failed!");
    EXPECT_FALSE(log().contains("backup process failed!"));
}

TEST_F(Backup, ThatCanNotBeEncipheredIsAnInternalError) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *) { return 0; });
    expect_failure(E_APPS_ERR_INTERNAL);
    expect_warning("frwk_dbrm_backup", "encrypt backup file failed!");
}

TEST_F(Backup, ThatCanNotTakeItsNameIsAnIoError) {
    doubles::libc::renameat.fail(EROFS);
    expect_failure(E_APPS_ERR_IO);
    expect_warning("frwk_dbrm_backup", with_errno("create backup file error!", EROFS));
}

TEST_F(Backup, LeavesNoDescriptorOpenWhateverFails) {
    const size_t before = open_descriptors();
    for (unsigned writes = 0; writes < 6; ++writes) {
        fill_disk_after(writes);
        (void)frwk_dbrm_backup(kBackup);
    }
    doubles::libc::fwrite.restore();
    EXPECT_EQ(before, open_descriptors());
}

}  // namespace
