/*
 * One file as a record of a backup.
 */
#include "frwk_dbrm/format/backup_record.h"

#include <unistd.h>

#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/format/backup_io.h"
#include "unit/frwk_dbrm/another_user.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::header;
using backup_bytes::record;

class BackupRecord : public DbrmTest {
  protected:
    static constexpr char kSource[] = "/m_data/usr/source";

    /* Appends a record and closes the backup. */
    static apps_err_e_type append(const std::string &source, uint32_t type = FRWK_DBRM_DATA_FILE) {
        UniqueFile out = backup_io::open_to_write(kBackup, "wb+e");
        const apps_err_e_type ret = backup::append_record(out.get(), source.c_str(), type);
        EXPECT_TRUE(backup_io::finish(std::move(out)));
        return ret;
    }

    /* A path of so many characters below the device's folder; its folder exists. */
    static std::string path_of_length(size_t length) {
        const std::string folder = "/m_data/usr/" + std::string(60, 'd') + "/";
        std::filesystem::create_directories(folder);
        return folder + std::string(length - folder.size(), 'f');
    }

    void expect_failure(apps_err_e_type expected, const std::string &text, int error) {
        EXPECT_EQ(expected, append(kSource));
        EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file", with_errno(text, error)));
    }
};

TEST_F(BackupRecord, HoldsTypeNameLengthAndBytes) {
    const std::string bytes("any\0bytes\n\xFF", 11);
    write(kSource, bytes);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append(kSource, FRWK_DBRM_DATA_DB));
    EXPECT_EQ(record(2, kSource, bytes), file_text(kBackup));
    EXPECT_EQ("", log().text());
}

TEST_F(BackupRecord, CopiesAFileOfManyChunks) {
    for (const size_t size : {1023u, 1024u, 1025u, 100000u}) {
        const std::string bytes(size, 'x');
        write(kSource, bytes);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, append(kSource));
        EXPECT_EQ(record(1, kSource, bytes), file_text(kBackup)) << size;
    }
}

TEST_F(BackupRecord, AnEmptySourceIsAHeaderOfLength0) {
    write(kSource, "");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append(kSource));
    EXPECT_EQ(header(1, kSource, 0), file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kDebugLevel, "frwk_dbrm_backup_file",
                            std::string("file '") + kSource + "' is empty!"));
}

TEST_F(BackupRecord, AMissingSourceIsAnEmptyOne) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append(kSource));
    EXPECT_EQ(header(1, kSource, 0), file_text(kBackup));
}

TEST_F(BackupRecord, AFolderInTheSourcesPlaceIsAnEmptyOne) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append("/m_data/usr"));
    EXPECT_EQ(header(1, "/m_data/usr", 0), file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file",
                            "'/m_data/usr' is no regular file, the backup has nothing of it!"));
}

/* Its size is 0 then; a restore would remove the file, or empty the settings. */
TEST_F(BackupRecord, ASourceThatCantBeLookedAtIsNoEmptyOne) {
    write(kSource, "data");
    doubles::base::os_file_size.stand_in([](const char *) { return uint64_t{0}; });
    EXPECT_EQ(E_APPS_ERR_IO, append(kSource)); /* it can be by now */
    doubles::libc::stat.fail(EACCES);
    EXPECT_EQ(E_APPS_ERR_IO, append(kSource));
    EXPECT_EQ("", file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file",
                            with_errno("open backup file error!", EACCES)));
}

TEST_F(BackupRecord, ASourceInAMissingFolderIsAnEmptyOne) {
    write(kSource, "data");
    for (const std::string &path :
         {std::string("/m_data/usr/missing/file"), std::string(kSource) + "/file"}) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, append(path));
        EXPECT_EQ(header(1, path, 0), file_text(kBackup));
    }
}

TEST_F(BackupRecord, AcceptsAPathOf127Characters) {
    const std::string path = path_of_length(127);
    write(path, "data");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append(path));
    EXPECT_EQ(record(1, path, "data"), file_text(kBackup));
}

TEST_F(BackupRecord, RefusesAPathOf128CharactersAndWritesNothing) {
    const std::string path = path_of_length(128);
    write(path, "data");
    EXPECT_EQ(E_APPS_ERR_PARAM, append(path));
    EXPECT_EQ("", file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file", "invalid filename length=128!"));
}

TEST_F(BackupRecord, RefusesAnEmptyPathAndWritesNothing) {
    EXPECT_EQ(E_APPS_ERR_PARAM, append(""));
    EXPECT_EQ("", file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file", "invalid filename length=0!"));
}

TEST_F(BackupRecord, RefusesAFileOf4GiBAndWritesNothing) {
    write(kSource, "");
    ASSERT_EQ(0, ::truncate(kSource, off_t{1} << 32));
    EXPECT_EQ(E_APPS_ERR_FORMAT, append(kSource));
    EXPECT_EQ("", file_text(kBackup));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_file",
                            std::string("file '") + kSource + "' is too large!"));
}

TEST_F(BackupRecord, AHeaderThatIsNotTakenIsAWriteError) {
    write(kSource, "data");
    fill_disk_after(0);
    expect_failure(E_APPS_ERR_WRITE, "write file hdr failed!", ENOSPC);
}

TEST_F(BackupRecord, ASourceThatCanNotBeOpenedIsAnIoErrorBehindItsHeader) {
    write(kSource, "data");
    refuse_to_open(kSource, "rbe", EACCES);
    expect_failure(E_APPS_ERR_IO, "open backup file error!", EACCES);
    EXPECT_EQ(header(1, kSource, 4), file_text(kBackup));
}

TEST_F(BackupRecord, ASourceBehindAnotherUsersLinkIsAnIoError) {
    write("/m_data/usr/secret", "secret");
    std::filesystem::remove(kSource);
    std::filesystem::create_symlink("/m_data/usr/secret", kSource);
    give_to_another_user({std::filesystem::path(kSource).parent_path()});
    expect_failure(E_APPS_ERR_IO, "open backup file error!", ELOOP);
    std::filesystem::remove(kSource);
    std::filesystem::remove("/m_data/usr/secret");
}

TEST_F(BackupRecord, ASourceThatBecameShorterIsAReadError) {
    write(kSource, "data");
    doubles::libc::fopen.stand_in([](const char *path, const char *mode) {
        if (std::string(path) == kSource) {
            write(kSource, "dat");
        }
        return doubles::libc::fopen.real(path, mode);
    });
    expect_failure(E_APPS_ERR_READ, "read backup source file error!", 0);
}

TEST_F(BackupRecord, ASourceThatGrewIsCopiedToItsRecordedLength) {
    write(kSource, "data");
    doubles::libc::fopen.stand_in([](const char *path, const char *mode) {
        if (std::string(path) == kSource) {
            write(kSource, "data and more");
        }
        return doubles::libc::fopen.real(path, mode);
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, append(kSource));
    EXPECT_EQ(record(1, kSource, "data"), file_text(kBackup));
}

TEST_F(BackupRecord, DataThatIsNotTakenIsAWriteError) {
    write(kSource, std::string(3000, 'x'));
    fill_disk_after(2);
    expect_failure(E_APPS_ERR_WRITE, "write backup target file error!", ENOSPC);
}

TEST_F(BackupRecord, AFullDiskIsNoticedWithoutAnyStandIn) {
    write(kSource, "data");
    const UniqueFile full = backup_io::open_to_write("/dev/full", "wbe");
    EXPECT_EQ(E_APPS_ERR_WRITE, backup::append_record(full.get(), kSource, FRWK_DBRM_DATA_FILE));
    EXPECT_TRUE(logged_once(log(), kWarningLevel, with_errno("write file hdr failed!", ENOSPC)));
}

}  // namespace
