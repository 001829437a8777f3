/*
 * Backups and restores where another user can write: unencrypted data is in a private folder, and only
 * checked data is restored.
 */
#include <fcntl.h>
#include <sys/stat.h>

#include "doubles/libc_doubles.h"
#include "frwk_dbrm.h"
#include "support/file_info.h"
#include "support/folder_names.h"
#include "unit/frwk_dbrm/another_user.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::packed;
using backup_bytes::record;

constexpr char kFolder[] = "/m_data/usr/exchange";
constexpr char kTarget[] = "/m_data/usr/exchange/backup.bin";
constexpr char kUnfinished[] = "/m_data/usr/exchange/backup.bin.unfinished";
constexpr char kPrecious[] = "/m_data/usr/precious";
constexpr char kRestored[] = "/m_data/usr/www/restored";

/* A folder in which anybody may write. */
class StrangeFolder : public DbrmTest {
  protected:
    void SetUp() override {
        DbrmTest::SetUp();
        std::filesystem::create_directories("/tmp/m_tmp");
        std::filesystem::create_directory(kFolder);
        set_mode(kFolder, 0777);
        write(kPrecious, "precious");
    }

    void TearDown() override {
        EXPECT_FALSE(private_folder_is_left());
        EXPECT_EQ("precious", file_text(kPrecious));
        DbrmTest::TearDown();
    }

    static void set_mode(const std::string &path, mode_t mode) { EXPECT_EQ(0, ::chmod(path.c_str(), mode)); }

    static bool private_folder_is_left() {
        for (const auto &entry : std::filesystem::directory_iterator("/tmp/m_tmp")) {
            if (entry.path().filename().string().find("backup.private") == 0) {
                return true;
            }
        }
        return false;
    }

    static bool is_private(const std::string &path) {
        return path.find("/tmp/m_tmp/backup.private.") == 0 &&
               mode_of(std::filesystem::path(path).parent_path()) == 0700 && mode_of(path) == 0600;
    }

    static std::vector<std::string> names() { return names_in(kFolder); }

    void expect_warning(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, function, text));
    }

    /* Lets no private folder be made. */
    static void refuse_private_folder(int error) { doubles::libc::mkdtemp.fail(error); }

    template <typename Result, typename... Args>
    static void refuse(doubles::Double<Result(Args...)> *function, int error) {
        function->stand_in([error](Args...) -> Result {
            errno = error;
            return -1;
        });
    }
};

class StrangeBackup : public StrangeFolder {
  protected:
    void SetUp() override {
        StrangeFolder::SetUp();
        write(kUserData, "a=1\n");
        write(kDataManager, "database");
    }

    static std::string whole() {
        return packed(record(2, kUserData, "a=1\n") + record(1, kDataManager, "database"), kMagic);
    }

    void expect_failure(apps_err_e_type expected) {
        write(kTarget, "an older backup");
        EXPECT_EQ(expected, frwk_dbrm_backup(kTarget));
        EXPECT_EQ(std::vector<std::string>(), names());
    }
};

TEST_F(StrangeBackup, LiesInTheClearInAPrivateFolderOnly) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *path) {
        EXPECT_TRUE(is_private(path)) << path;
        EXPECT_EQ(whole(), file_text(path));
        EXPECT_EQ(std::vector<std::string>(), names());
        return write_text(path, "enciphered") ? 1 : 0;
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
    EXPECT_EQ("enciphered", file_text(kTarget));
    EXPECT_EQ(0600u, mode_of(kTarget));
    EXPECT_EQ(std::vector<std::string>{"backup.bin"}, names());
}

TEST_F(StrangeBackup, ReplacesAnOlderOneAndWhatAKilledOneLeft) {
    write(kTarget, "older");
    write(kUnfinished, "left");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
    EXPECT_EQ(whole(), file_text(kTarget));
    EXPECT_EQ(std::vector<std::string>{"backup.bin"}, names());
}

TEST_F(StrangeBackup, IsCopiedWhateverItsSize) {
    write(kDataManager, std::string(100000, 'd'));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
    EXPECT_EQ(
        packed(record(2, kUserData, "a=1\n") + record(1, kDataManager, std::string(100000, 'd')), kMagic),
        file_text(kTarget));
}

TEST_F(StrangeBackup, FollowsNoLinkOfTheUnfinishedFile) {
    std::filesystem::create_symlink(kPrecious, kUnfinished);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
    EXPECT_EQ(whole(), file_text(kTarget));
    EXPECT_FALSE(std::filesystem::is_symlink(kTarget));
}

TEST_F(StrangeBackup, ToALinkIsAnIoError) {
    std::filesystem::create_symlink(kPrecious, kTarget);
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(kTarget));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ELOOP));
    expect_warning("frwk_dbrm_backup", "backup process failed!");
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(StrangeBackup, ByALinkOfAnotherIsAnIoErrorAndTouchesNothing) {
    std::filesystem::create_symlink("/m_data/usr/www", std::string(kFolder) + "/linked");
    write("/m_data/usr/www/backup.bin", "another");
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup("/m_data/usr/exchange/linked/backup.bin"));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ELOOP));
    EXPECT_EQ("another", file_text("/m_data/usr/www/backup.bin"));
}

TEST_F(StrangeBackup, InAFoldersPlaceIsAnIoErrorAndTheFolderStays) {
    std::filesystem::create_directory(kTarget);
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(kTarget));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", EISDIR));
    EXPECT_TRUE(std::filesystem::is_directory(kTarget));
}

TEST_F(StrangeBackup, WithoutRoomForTheLongerNameIsAnIoError) {
    const std::string path = std::string(kFolder) + "/" + std::string(245, 'n');
    write(path.substr(0, path.size() - 1), "another");
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_backup(path.c_str()));
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENAMETOOLONG));
    EXPECT_EQ(std::vector<std::string>{std::string(244, 'n')}, names());
}

TEST_F(StrangeBackup, WithoutAPrivateFolderIsAnIoError) {
    refuse_private_folder(ENOSPC);
    expect_failure(E_APPS_ERR_IO);
    expect_warning("frwk_dbrm_backup_process", with_errno("create backup file error!", ENOSPC));
}

TEST_F(StrangeBackup, AsksForTwiceTheRoomOfItsSources) {
    write(kAccounts, std::string(300000, 'a'));
    uint64_t left = 0;
    doubles::libc::statvfs.stand_in([&left](const char *path, struct statvfs *info) {
        const int result = doubles::libc::statvfs.real(path, info);
        info->f_frsize = 1;
        info->f_bavail = static_cast<fsblkcnt_t>(left);
        return result;
    });
    left = 2 * 300000;
    expect_failure(E_APPS_ERR_IO);
    left = 2 * 300000 + 100000;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
}

TEST_F(StrangeBackup, ThatCanNotBeEncipheredIsAnInternalError) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *) { return 0; });
    expect_failure(E_APPS_ERR_INTERNAL);
    expect_warning("frwk_dbrm_backup", "encrypt backup file failed!");
}

TEST_F(StrangeBackup, ThatVanishedIsAWriteError) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *path) { return ::unlink(path) == 0 ? 1 : 0; });
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup", with_errno("write backup target file error!", ENOENT));
}

TEST_F(StrangeBackup, OfWhichNothingIsKnownIsAWriteError) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *) {
        refuse(&doubles::libc::fstat, EIO);
        return 1;
    });
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup", with_errno("write backup target file error!", EIO));
}

TEST_F(StrangeBackup, ThatTheFolderDoesNotTakeIsAWriteError) {
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *) {
        doubles::libc::openat.stand_in([](int folder, const char *name, int flags, mode_t mode) {
            if ((flags & O_CREAT) != 0) {
                errno = ENOSPC;
                return -1;
            }
            return doubles::libc::openat.real(folder, name, flags, mode);
        });
        return 1;
    });
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup", with_errno("write backup target file error!", ENOSPC));
}

TEST_F(StrangeBackup, ForWhichTheDiskIsFullIsAWriteError) {
    for (const bool at_once : {true, false}) {
        log().clear();
        doubles::libc::write.stand_in([at_once](int fd, const void *bytes, size_t size) -> ssize_t {
            if (doubles::libc::write.calls() == 1 && !at_once) {
                return doubles::libc::write.real(fd, bytes, size / 2);
            }
            errno = at_once ? ENOSPC : 0;
            return at_once ? -1 : 0;
        });
        doubles::libc::write.forget_calls();
        expect_failure(E_APPS_ERR_WRITE);
        expect_warning("frwk_dbrm_backup", with_errno("write backup target file error!", ENOSPC));
    }
}

TEST_F(StrangeBackup, ThatCanNotBeSyncedIsAWriteError) {
    refuse(&doubles::libc::fsync, EIO);
    expect_failure(E_APPS_ERR_WRITE);
    expect_warning("frwk_dbrm_backup", with_errno("write backup target file error!", EIO));
}

TEST_F(StrangeBackup, ThatCanNotTakeItsNameIsAnIoError) {
    refuse(&doubles::libc::renameat, EROFS);
    expect_failure(E_APPS_ERR_IO);
    expect_warning("frwk_dbrm_backup", with_errno("create backup file error!", EROFS));
}

TEST_F(StrangeBackup, ToAFolderOfAnotherUserIsPrivateToo) {
    set_mode(kFolder, 0755);
    give_to_another_user({kFolder});
    doubles::base::zn_encrypt_file_ex.stand_in([](const char *path) { return is_private(path) ? 1 : 0; });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kTarget));
    EXPECT_EQ(whole(), file_text(kTarget));
}

class StrangeRestore : public StrangeFolder {
  protected:
    void SetUp() override {
        StrangeFolder::SetUp();
        write(kTarget, backup());
        set_mode(kTarget, 0644);
    }

    static std::string backup() { return packed(record(1, kRestored, "bytes"), kMagic); }

    /* Restores, and returns whether a private copy was used. */
    bool restored_privately(const std::string &path = kTarget) {
        store("device_product_name", "a");
        bool seen = false;
        doubles::base::zn_decrypt_file_ex.stand_in([&seen](const char *deciphered) {
            seen = is_private(deciphered) && file_text(deciphered) == backup();
            return 1;
        });
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(path.c_str()));
        EXPECT_EQ("bytes", file_text(kRestored));
        EXPECT_FALSE(exists(path));
        return seen;
    }

    /* Refuses the file before it is decrypted. */
    void expect_refused(int error, const std::string &path = kTarget) {
        EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(path.c_str()));
        expect_warning("frwk_dbrm_restore", with_errno("decrypt restore file error!", error));
        EXPECT_EQ(0u, doubles::base::zn_decrypt_file_ex.calls());
        EXPECT_TRUE(requests().empty());
    }

    void expect_as_it_came() {
        EXPECT_EQ(backup(), file_text(kTarget));
        EXPECT_EQ(0644u, mode_of(kTarget));
    }
};

TEST_F(StrangeRestore, DeciphersAPrivateCopyAndRemovesTheFile) {
    EXPECT_TRUE(restored_privately());
    EXPECT_EQ(std::vector<std::string>(), names());
}

TEST_F(StrangeRestore, OfAnothersFileOrOneThatOthersWriteIsPrivateToo) {
    set_mode(kFolder, 0755);
    for (const mode_t mode : {0664u, 0646u}) {
        write(kTarget, backup());
        set_mode(kTarget, mode);
        EXPECT_TRUE(restored_privately());
    }
    write(kTarget, backup());
    set_mode(kTarget, 0644);
    give_to_another_user({kTarget});
    EXPECT_TRUE(restored_privately());
}

TEST_F(StrangeRestore, OfAnOwnFileInAnOwnFolderIsInPlace) {
    set_mode(kFolder, 0755);
    EXPECT_FALSE(restored_privately());
}

TEST_F(StrangeRestore, HidesAnOwnFileWhileItIsInTheClear) {
    set_mode(kFolder, 0755);
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *path) {
        EXPECT_STREQ(kTarget, path);
        EXPECT_EQ(0600u, mode_of(path));
        return 1;
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kTarget));
    EXPECT_EQ("bytes", file_text(kRestored));
}

TEST_F(StrangeRestore, OfAnOwnFileThatIsRefusedGivesItsRightsBack) {
    set_mode(kFolder, 0755);
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *) { return 0; });
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kTarget));
    expect_as_it_came();
}

TEST_F(StrangeRestore, OfAnOwnFileThatNobodyElseReadsChangesNoRights) {
    set_mode(kFolder, 0755);
    set_mode(kTarget, 0600);
    EXPECT_FALSE(restored_privately());
    EXPECT_EQ(0u, doubles::libc::fchmod.calls());
}

TEST_F(StrangeRestore, OfAFileThatCanNotBeHiddenIsPrivate) {
    set_mode(kFolder, 0755);
    refuse(&doubles::libc::fchmod, EPERM);
    EXPECT_TRUE(restored_privately());
}

TEST_F(StrangeRestore, OnAFileSystemWithoutRightsIsPrivate) {
    set_mode(kFolder, 0755);
    doubles::libc::fchmod.stand_in([](int, mode_t) { return 0; });
    EXPECT_TRUE(restored_privately());
}

TEST_F(StrangeRestore, ThatCanNotBeDecipheredLeavesTheFileAsItCame) {
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *) { return 0; });
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kTarget));
    expect_warning("frwk_dbrm_restore", "decrypt restore file error!");
    expect_as_it_came();
}

TEST_F(StrangeRestore, ThatIsRefusedLaterLeavesTheFileAsItCameAndNothingInTheClear) {
    doubles::base::zn_decrypt_file_ex.stand_in(
        [](const char *path) { return write_text(path, packed("", kMagic + 1)) ? 1 : 0; });
    EXPECT_EQ(E_APPS_ERR_FORMAT, frwk_dbrm_restore(kTarget));
    expect_warning("frwk_dbrm_restore", "decompression failed!");
    expect_as_it_came();
}

TEST_F(StrangeRestore, TakesWhatTheFileWasWhenItWasOpened) {
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *) {
        std::filesystem::remove(kTarget);
        return write_text(kTarget, packed(record(1, kPrecious, "evil"), kMagic)) ? 1 : 0;
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kTarget));
    EXPECT_EQ("bytes", file_text(kRestored));
    EXPECT_TRUE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_process",
                   "the restore file was replaced meanwhile, what is there now stays");
}

TEST_F(StrangeRestore, OfAFileThatIsGoneInTheEndSaysSo) {
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *) { return ::unlink(kTarget) == 0 ? 1 : 0; });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kTarget));
    EXPECT_EQ("bytes", file_text(kRestored));
    expect_warning("frwk_dbrm_restore_process", with_errno("remove restore file error!", ENOENT));
}

TEST_F(StrangeRestore, FollowsNoLink) {
    const std::string link = std::string(kFolder) + "/link";
    std::filesystem::create_symlink(kTarget, link);
    expect_refused(ELOOP, link);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    expect_as_it_came();
}

TEST_F(StrangeRestore, FollowsAnOwnLinkThatLeadsThereAndRemovesBoth) {
    const std::string link = "/m_data/usr/link";
    std::filesystem::create_symlink(kTarget, link);
    EXPECT_TRUE(restored_privately(link));
    EXPECT_FALSE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::vector<std::string>(), names());
}

TEST_F(StrangeRestore, OfAnOwnLinkThatStaysSaysSo) {
    const std::string link = "/m_data/usr/link";
    std::filesystem::create_symlink(kTarget, link);
    doubles::base::zn_decrypt_file_ex.stand_in(
        [&link](const char *) { return ::unlink(link.c_str()) == 0 ? 1 : 0; });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(link.c_str()));
    expect_warning("frwk_dbrm_restore_process", with_errno("remove restore file error!", ENOENT));
}

TEST_F(StrangeRestore, WaitsForNoPipeAndReadsNoFolder) {
    const std::string pipe = std::string(kFolder) + "/pipe";
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0666));
    expect_refused(EINVAL, pipe);
    log().clear();
    expect_refused(EINVAL, kFolder);
}

TEST_F(StrangeRestore, OfAFileThatBecomesShorterIsRefused) {
    doubles::libc::read.stand_in([](int fd, void *to, size_t size) {
        (void)::truncate(kTarget, 10);
        return doubles::libc::read.real(fd, to, size);
    });
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kTarget));
    expect_warning("frwk_dbrm_restore", with_errno("decrypt restore file error!", 0));
    EXPECT_EQ(0u, doubles::base::zn_decrypt_file_ex.calls());
}

TEST_F(StrangeRestore, OfAFileThatCanNotBeReadIsRefused) {
    refuse(&doubles::libc::read, EIO);
    expect_refused(EIO);
    expect_as_it_came();
}

TEST_F(StrangeRestore, OfAFileOfWhichNothingIsKnownIsRefused) {
    doubles::libc::fstat.stand_in([](int fd, struct stat *info) {
        if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)) == kTarget) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::fstat.real(fd, info);
    });
    expect_refused(EIO);
}

TEST_F(StrangeRestore, WithoutAPrivateFolderIsRefused) {
    refuse_private_folder(EROFS);
    expect_refused(EROFS);
    expect_as_it_came();
}

TEST_F(StrangeRestore, WhoseCopyCanNotBeMadeIsRefused) {
    doubles::libc::open.stand_in([](const char *path, int flags, mode_t mode) {
        if ((flags & O_CREAT) != 0) {
            errno = EMFILE;
            return -1;
        }
        return doubles::libc::open.real(path, flags, mode);
    });
    expect_refused(EMFILE);
    expect_as_it_came();
}

TEST_F(StrangeRestore, OfAnOwnFileWhosePathCanNotBeResolvedIsRefused) {
    set_mode(kFolder, 0755);
    doubles::libc::realpath.fail(ENOMEM);
    expect_refused(ENOMEM);
}

}  // namespace
