/*
 * Restoring single records.
 */
#include "frwk_dbrm/format/restore_record.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "doubles/dirty_memory.h"
#include "frwk_dbrm/format/backup_io.h"
#include "support/file_info.h"
#include "unit/frwk_dbrm/another_user.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_format::make_record_header;
using backup_format::RecordHeader;

constexpr char kTarget[] = "/m_data/usr/www/target";

class RestoreRecord : public DbrmTest {
  protected:
    /* Restores a record of this length from a backup with data after the header. */
    template <typename Restore>
    static apps_err_e_type run(Restore restore, const std::string &name, const std::string &data,
                               uint32_t length) {
        write(kBackup, data);
        const UniqueFile backup(std::fopen(kBackup, "rbe"));
        return restore(backup.get(), make_record_header(0, name, length));
    }

    static apps_err_e_type restore_file(const std::string &name, const std::string &data, uint32_t length) {
        return run(backup::restore_file, name, data, length);
    }
    static apps_err_e_type restore_file(const std::string &name, const std::string &data) {
        return restore_file(name, data, static_cast<uint32_t>(data.size()));
    }

    static apps_err_e_type restore_db(const std::string &text, uint32_t length) {
        const auto restore = [](std::FILE *backup, const RecordHeader &record) {
            return backup::restore_database(backup, record);
        };
        return run(restore, kUserData, text, length);
    }
    static apps_err_e_type restore_db(const std::string &text) {
        return restore_db(text, static_cast<uint32_t>(text.size()));
    }

    /* Keeps the commands that would be run. */
    void record_commands() {
        doubles::base::os_system.stand_in([this](const char *command) {
            commands_.emplace_back(command);
            return 0;
        });
    }

    static void sync_fails_with(int error) { doubles::libc::fsync.fail(error); }

    void expect_warning(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, function, text));
    }
    void expect_note(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kDebugLevel, function, text));
    }

    std::vector<std::string> commands_;
};

class RestoreFile : public RestoreRecord {};

TEST_F(RestoreFile, WritesEveryByte) {
    for (const size_t size : {1u, 1023u, 1024u, 1025u, 100000u}) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(i * 7);
        }
        EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, bytes));
        EXPECT_EQ(bytes, file_text(kTarget)) << size;
    }
}

TEST_F(RestoreFile, BringsBackAFileOfTheLongestName) {
    const std::string folder = "/m_data/usr/" + std::string(60, 'd') + "/";
    const std::string name = folder + std::string(127 - folder.size(), 'f');
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(name, "data"));
    EXPECT_EQ("data", file_text(name));
}

TEST_F(RestoreFile, NotesWhatItBringsBack) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "data"));
    expect_note("frwk_dbrm_restore_file", std::string("restore file '") + kTarget + "' coming...");
}

TEST_F(RestoreFile, ReplacesAnotherContent) {
    write(kTarget, "a longer content than the new one");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "new"));
    EXPECT_EQ("new", file_text(kTarget));
}

TEST_F(RestoreFile, ThatWasMissingIsReadableForItsOwnerOnly) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "secret"));
    EXPECT_EQ(0600u, mode_of(kTarget));
}

TEST_F(RestoreFile, KeepsTheModeOfTheOneThatItReplaces) {
    write(kTarget, "old");
    ASSERT_EQ(0, ::chmod(kTarget, 0640));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "secret"));
    EXPECT_EQ(0640u, mode_of(kTarget));
}

TEST_F(RestoreFile, TakesNoMoreThanItsLength) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "data of the next record", 4));
    EXPECT_EQ("data", file_text(kTarget));
}

TEST_F(RestoreFile, AnEmptyRecordRemovesTheFile) {
    write(kTarget, "old");
    record_commands();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, ""));
    EXPECT_FALSE(exists(kTarget));
    expect_note("frwk_dbrm_restore_file", "remove empty file.");
    EXPECT_TRUE(commands_.empty());
}

TEST_F(RestoreFile, AnEmptyRecordOfAMissingFileIsFine) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, ""));
    EXPECT_FALSE(exists(kTarget));
}

TEST_F(RestoreFile, MakesItsFolder) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("/m_data/usr/new/deep/target", "data"));
    EXPECT_EQ("data", file_text("/m_data/usr/new/deep/target"));
}

TEST_F(RestoreFile, RunsMkdirWithTheFolderAsItIs) {
    record_commands();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "data"));
    EXPECT_EQ(std::vector<std::string>{"mkdir -p /m_data/usr/www"}, commands_);
}

TEST_F(RestoreFile, WithoutASeparatorRunsNoMkdir) {
    record_commands();
    std::filesystem::current_path("/m_data/usr/www");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("target", "data"));
    std::filesystem::current_path("/");
    EXPECT_TRUE(commands_.empty());
    EXPECT_EQ("data", file_text(kTarget));
}

TEST_F(RestoreFile, WithABackslashOnlyCutsTheFolderThere) {
    record_commands();
    std::filesystem::current_path("/m_data/usr/www");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("folder\\target", "data"));
    std::filesystem::current_path("/");
    EXPECT_EQ(std::vector<std::string>{"mkdir -p folder"}, commands_);
    EXPECT_EQ("data", file_text("/m_data/usr/www/folder\\target"));
}

TEST_F(RestoreFile, WithNothingInFrontOfItsSeparatorRunsNoMkdir) {
    record_commands();
    doubles::libc::open.stand_in([](const char *path, int flags, mode_t mode) {
        return doubles::libc::open.real(std::strcmp(path, "/target") == 0 ? kTarget : path, flags, mode);
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("/target", "data"));
    EXPECT_EQ("data", file_text(kTarget));

    std::filesystem::current_path("/m_data/usr/www");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("\\target", "other data"));
    std::filesystem::current_path("/");
    EXPECT_EQ("other data", file_text("/m_data/usr/www/\\target"));
    EXPECT_TRUE(commands_.empty());
}

TEST_F(RestoreFile, WithBothSeparatorsCutsTheFolderAtTheSlash) {
    record_commands();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("/m_data/usr/www/a\\b", "data"));
    EXPECT_EQ(std::vector<std::string>{"mkdir -p /m_data/usr/www"}, commands_);
}

TEST_F(RestoreFile, AFolderIsNeverACommand) {
    const std::string folder = "/m_data/usr/x; touch $(echo 'hit') `id` && #";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(folder + "/target", "data"));
    EXPECT_EQ("data", file_text(folder + "/target"));
    EXPECT_FALSE(exists("hit"));
}

TEST_F(RestoreFile, AFolderThatDoesNotFitTheCommandIsNotMade) {
    record_commands();
    const std::string name = "/m_data/usr/" + std::string(100, '\'') + "/target";
    EXPECT_EQ(E_APPS_ERR_IO, restore_file(name, "data"));
    EXPECT_TRUE(commands_.empty());
    expect_warning("frwk_dbrm_restore_file", with_errno("create file error!", ENOENT));
}

TEST_F(RestoreFile, BelowAnotherUsersLinkIsNeitherMadeNorWritten) {
    constexpr char kBelow[] = "/m_data/usr/www/link/made/target";
    std::filesystem::create_symlink("/m_data/usr", "/m_data/usr/www/link");
    give_to_another_user({"/m_data/usr/www"});
    record_commands();
    EXPECT_EQ(E_APPS_ERR_IO, restore_file(kBelow, "data"));
    EXPECT_TRUE(commands_.empty());
    expect_warning("frwk_dbrm_restore_file",
                   "create file error! errno=" + std::to_string(ELOOP) + ", cause: " + std::strerror(ELOOP));
    std::filesystem::remove("/m_data/usr/www/link");
}

TEST_F(RestoreFile, GivesItsNewFolderToTheOwnerOfTheOneAbove) {
    std::vector<uid_t> owners;
    give_to_another_user({"/m_data/usr/www"});
    doubles::libc::fchown.stand_in([&owners](int, uid_t user, gid_t) {
        owners.push_back(user);
        return 0;
    });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("/m_data/usr/www/new/target", "data"));
    EXPECT_EQ(std::vector<uid_t>{kAnotherUser}, owners);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file("/m_data/usr/www/new/target", "data"));
    EXPECT_EQ(1u, owners.size());
}

TEST_F(RestoreFile, ThatCanNotBeCreatedIsAnIoError) {
    write("/m_data/usr/file", "");
    EXPECT_EQ(E_APPS_ERR_IO, restore_file("/m_data/usr/file/target", "data"));
    expect_warning("frwk_dbrm_restore_file", with_errno("create file error!", ENOTDIR));
}

TEST_F(RestoreFile, WithoutMemoryForItsStreamLeavesNoEmptyFile) {
    write(kTarget, "old");
    doubles::libc::fdopen.fail(ENOMEM);
    EXPECT_EQ(E_APPS_ERR_IO, restore_file(kTarget, "data"));
    EXPECT_FALSE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_file", with_errno("create file error!", ENOMEM));
}

TEST_F(RestoreFile, ThatIsShorterThanItsRecordSaysLeavesNoHalfFile) {
    write(kTarget, "old");
    EXPECT_EQ(E_APPS_ERR_READ, restore_file(kTarget, std::string(3000, 'x'), 3001));
    EXPECT_FALSE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_file", with_errno("read restore source file error!", 0));
}

TEST_F(RestoreFile, OfARecordThatClaims4GiBIsAReadErrorInConstantMemory) {
    const uint32_t before = live_blocks();
    EXPECT_EQ(E_APPS_ERR_READ, restore_file(kTarget, "data", 0xFFFFFFFF));
    EXPECT_EQ(before, live_blocks());
    EXPECT_EQ(0u, doubles::base::os_mem_malloc.calls());
    EXPECT_FALSE(exists(kTarget));
}

TEST_F(RestoreFile, OnAFullDiskLeavesNoHalfFile) {
    fill_disk_after(1);
    EXPECT_EQ(E_APPS_ERR_WRITE, restore_file(kTarget, std::string(3000, 'x')));
    EXPECT_FALSE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_file", with_errno("write restore target file error!", ENOSPC));
}

TEST_F(RestoreFile, ThatIsLostOnClosingLeavesNoHalfFile) {
    doubles::libc::fflush.fail(EIO);
    EXPECT_EQ(E_APPS_ERR_WRITE, restore_file(kTarget, "data"));
    EXPECT_FALSE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_file", with_errno("write restore target file error!", EIO));
}

TEST_F(RestoreFile, ThatTheDiskDoesNotKeepLeavesNoHalfFile) {
    sync_fails_with(EIO);
    EXPECT_EQ(E_APPS_ERR_WRITE, restore_file(kTarget, "data"));
    EXPECT_FALSE(exists(kTarget));
    expect_warning("frwk_dbrm_restore_file", with_errno("write restore target file error!", EIO));
}

TEST_F(RestoreFile, WhereNothingCanBeSyncedIsRestored) {
    sync_fails_with(EINVAL);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_file(kTarget, "data"));
    EXPECT_EQ(1u, doubles::libc::fsync.calls());
    EXPECT_EQ("data", file_text(kTarget));
}

class RestoreDb : public RestoreRecord {};

using Requests = std::vector<std::string>;

TEST_F(RestoreDb, SetsEveryPairAndSavesOnce) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("a=1\nb=2\n"));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=2", "zndb_save"}), requests());
    expect_note("frwk_dbrm_restore_db", std::string("restore db '") + kUserData + "' coming...");
    expect_note("frwk_dbrm_restore_db", "zndb set a=1");
    expect_note("frwk_dbrm_restore_db", "zndb set b=2");
    expect_note("frwk_dbrm_restore_db", std::string("restore db '") + kUserData + "' success.");
}

TEST_F(RestoreDb, OfNoBytesAsksTheDatabaseForNothing) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db(""));
    EXPECT_TRUE(requests().empty());
    expect_note("frwk_dbrm_restore_db", std::string("restore db '") + kUserData + "' success.");
}

TEST_F(RestoreDb, EndsAtALineThatIsNoneAndSucceeds) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("a=1\r\n#b=2\n\nc=x=y\nbad\nd=4\n"));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set c=x=y", "zndb_save"}), requests());
    expect_warning("frwk_dbrm_get_keyvalue", "invalid db record format 'bad'!");
    expect_warning("frwk_dbrm_restore_db", "only 17 of 25 bytes of the db record were restored!");
    expect_note("frwk_dbrm_restore_db", std::string("restore db '") + kUserData + "' success.");
}

TEST_F(RestoreDb, EndsAtANulAndSaysHowFarItCame) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db(std::string("a=1\nb=2\0\nc=3\n", 13)));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=2", "zndb_save"}), requests());
    expect_warning("frwk_dbrm_restore_db", "only 7 of 13 bytes of the db record were restored!");
}

TEST_F(RestoreDb, OfAWholeTextHasNothingToWarnOf) {
    for (const char *text : {"a=1\n", "a=1", "a=1\n  ", "#comment"}) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db(text));
    }
    EXPECT_FALSE(log().contains("bytes of the db record"));
}

TEST_F(RestoreDb, SetsAnEmptyKey) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("=v"));
    EXPECT_EQ((Requests{"zndb_set =v", "zndb_save"}), requests());
}

TEST_F(RestoreDb, OfCommentsOnlySavesNevertheless) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("# nothing\n"));
    EXPECT_EQ(Requests{"zndb_save"}, requests());
}

TEST_F(RestoreDb, TakesNoMoreThanItsLength) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("a=1\nb=2\n", 6));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=", "zndb_save"}), requests());
}

TEST_F(RestoreDb, FailsWhenTheDatabaseRefusesAKey) {
    database().result = E_ZNDB_RET_IPC;
    database().spared = 1;
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_db("a=1\nb=2\nc=3\n"));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=2"}), requests());
    expect_warning("frwk_dbrm_restore_db", "zndb set db data error!");
    expect_warning("frwk_dbrm_restore_db", "only 4 of 12 bytes of the db record were restored!");
}

TEST_F(RestoreDb, FailsWhenAValueIsLongerThanTheDatabaseTakes) {
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_db("a=" + std::string(1024, 'v') + "\n"));
    expect_warning("frwk_dbrm_restore_db", "zndb set db data error!");
}

TEST_F(RestoreDb, FailsWhenTheDatabaseIsNotSaved) {
    database().result = E_ZNDB_RET_FAILURE;
    database().spared = 1;
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_db("a=1\n"));
    expect_warning("frwk_dbrm_restore_db", "zndb save db file error!");
}

TEST_F(RestoreDb, ThatIsShorterThanItsRecordSaysIsAReadError) {
    EXPECT_EQ(E_APPS_ERR_READ, restore_db("a=1\n", 5));
    EXPECT_TRUE(requests().empty());
    expect_warning("frwk_dbrm_restore_db", with_errno("read db file error!", 0));
}

TEST_F(RestoreDb, OfALengthThatWrapsAskForNoMemory) {
    EXPECT_EQ(E_APPS_ERR_MALLOC, restore_db("a=1\n", 0xFFFFFFFF));
    EXPECT_EQ(0u, doubles::base::os_mem_malloc.calls());
    expect_warning("frwk_dbrm_restore_db", "alloc read buffer[0] failed!");
}

TEST_F(RestoreDb, OfMoreThanABlockHoldsHasNoMemory) {
    EXPECT_EQ(E_APPS_ERR_MALLOC, restore_db("a=1\n", OS_MEM_BLOCK_MAX));
    expect_warning("frwk_dbrm_restore_db", "alloc read buffer[67108865] failed!");
    EXPECT_EQ(E_APPS_ERR_MALLOC, restore_db("a=1\n", 0xFFFFFFFE));
    expect_warning("frwk_dbrm_restore_db", "alloc read buffer[4294967295] failed!");
}

TEST_F(RestoreDb, EndsWhereItsRecordEndsWhateverTheAllocatorLeaves) {
    hand_out_dirty_blocks();
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_db("a=1\nb=2"));
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=2", "zndb_save"}), requests());
}

TEST_F(RestoreDb, WithoutMemorySaysHowMuchItWanted) {
    doubles::base::os_mem_malloc.stand_in([](size_t) { return nullptr; });
    EXPECT_EQ(E_APPS_ERR_MALLOC, restore_db("a=1\n"));
    doubles::base::os_mem_malloc.restore();
    expect_warning("frwk_dbrm_restore_db", "alloc read buffer[5] failed!");
    EXPECT_TRUE(requests().empty());
}

/* The bytes of a block that lie in memory really. */
size_t resident(const void *block, size_t size) {
    const auto page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    const uintptr_t begin = reinterpret_cast<uintptr_t>(block) / page * page;
    const uintptr_t end = reinterpret_cast<uintptr_t>(block) + size;
    std::vector<unsigned char> pages((end - begin + page - 1) / page);
    EXPECT_EQ(0, ::mincore(reinterpret_cast<void *>(begin), end - begin, pages.data()));
    return page * static_cast<size_t>(std::count_if(pages.begin(), pages.end(),
                                                    [](unsigned char state) { return (state & 1) != 0; }));
}

/* A fresh block costs nothing, but where a sanitizer fills it. */
TEST_F(RestoreDb, AHeaderAloneCostsNoMemoryThatIsReallyUsed) {
    size_t fresh = 0;
    size_t used = OS_MEM_BLOCK_MAX;
    doubles::libc::fread.stand_in([&](void *bytes, size_t size, size_t count, FILE *file) {
        fresh = resident(bytes, size * count);
        const size_t taken = doubles::libc::fread.real(bytes, size, count, file);
        used = resident(bytes, size * count);
        return taken;
    });
    EXPECT_EQ(E_APPS_ERR_READ, restore_db("a=1\n", OS_MEM_BLOCK_MAX - 1));
    EXPECT_LE(used, fresh + (4u << 20));
}

}  // namespace
