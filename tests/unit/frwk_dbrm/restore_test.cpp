/*
 * Complete restores: the requests to the database and their order, and the state after a failure.
 */
#include "frwk_dbrm.h"
#include "support/open_descriptors.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::header;
using backup_bytes::packed;
using backup_bytes::record;

using Requests = std::vector<std::string>;

/* The requests of a restore before the first record. */
const Requests kUpToReset = {"zndb_get", "zndb_reset", "zndb_save"};

constexpr char kFile[] = "/m_data/usr/www/restored";

class Restore : public DbrmTest {
  protected:
    void expect_warning(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, function, text));
    }

    /* Restores a body, and expects it to fail in the record walk. */
    void expect_walk_failure(const std::string &body, apps_err_e_type expected) {
        write(kBackup, packed(body, kMagic));
        EXPECT_EQ(expected, frwk_dbrm_restore(kBackup));
        expect_warning("frwk_dbrm_restore", "restore process failed!");
        EXPECT_FALSE(exists(kBackup));
    }

    static std::string pairs(int count) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "key_" + std::to_string(i) + "=1\n";
        }
        return text;
    }

    Requests with(Requests more) {
        Requests all = kUpToReset;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
};

TEST_F(Restore, EmptiesTheDatabaseAndAppliesEveryRecordInOrder) {
    write(kBackup, packed(record(2, kUserData, "a=1\nb=2\n") + record(1, kFile, "bytes") +
                              record(2, "/another.db", "c=3\n"),
                          kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ(with({"zndb_set a=1", "zndb_set b=2", "zndb_save", "zndb_set c=3", "zndb_save"}), requests());
    EXPECT_EQ("bytes", file_text(kFile));
    EXPECT_FALSE(exists(kBackup));
    EXPECT_FALSE(exists(kUserData));
}

/* The database would refuse the 4,097th unsaved setting of one sender. */
TEST_F(Restore, SavesAfterEach4000Settings) {
    write(kBackup, packed(record(2, kUserData, pairs(8001)), kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    const std::vector<std::string> all = requests();
    ASSERT_EQ(kUpToReset.size() + 8001 + 3, all.size());
    EXPECT_EQ("zndb_save", all[kUpToReset.size() + 4000]);
    EXPECT_EQ("zndb_save", all[kUpToReset.size() + 8001]);
    EXPECT_EQ("zndb_save", all.back());
}

TEST_F(Restore, Of4000SettingsSavesOnce) {
    write(kBackup, packed(record(2, kUserData, pairs(4000)), kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ(kUpToReset.size() + 4000 + 1, requests().size());
}

TEST_F(Restore, EndsWhereASaveBetweenSettingsFails) {
    database().result = E_ZNDB_RET_FAILURE;
    database().spared = kUpToReset.size() + 4000;
    expect_walk_failure(record(2, kUserData, pairs(4001)), E_APPS_ERR_PROCESS);
    expect_warning("frwk_dbrm_restore_db", "zndb save db data error!");
    EXPECT_EQ(kUpToReset.size() + 4000 + 1, requests().size());
}

TEST_F(Restore, OfABackupWithoutRecordsEmptiesTheDatabase) {
    write(kBackup, packed("", kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ(kUpToReset, requests());
    EXPECT_FALSE(exists(kBackup));
}

TEST_F(Restore, BringsBackWhatABackupWrote) {
    store("webs_backup_account", "true");
    write(kUserData, "x=1\n");
    write(kAccounts, "accounts");
    write(kKeys, std::string(5000, '\0'));
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    write(kAccounts, "other");
    write(kDataManager, "made since");
    std::filesystem::remove(kKeys);

    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("1", stored("x"));
    EXPECT_EQ("accounts", file_text(kAccounts));
    EXPECT_EQ(std::string(5000, '\0'), file_text(kKeys));
    EXPECT_FALSE(exists(kDataManager));
}

TEST_F(Restore, RefusesANullPath) {
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_dbrm_restore(nullptr));
    EXPECT_TRUE(requests().empty());
}

TEST_F(Restore, ThroughALinkLeavesNothingInTheClear) {
    write("/m_data/usr/upload", packed(record(1, kFile, "bytes"), kMagic));
    std::filesystem::create_symlink("upload", "/m_data/usr/link");
    std::filesystem::create_symlink("/m_data/usr/link", kBackup);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("bytes", file_text(kFile));
    EXPECT_FALSE(exists("/m_data/usr/upload"));
    EXPECT_FALSE(std::filesystem::is_symlink(kBackup));
    EXPECT_FALSE(log().contains("remove restore file error!"));
}

TEST_F(Restore, ThroughALinkThatFailsInARecordLeavesNothingInTheClearEither) {
    write("/m_data/usr/upload", packed(record(9, kFile, "bytes"), kMagic));
    std::filesystem::create_symlink("/m_data/usr/upload", kBackup);
    EXPECT_EQ(E_APPS_ERR_FORMAT, frwk_dbrm_restore(kBackup));
    EXPECT_FALSE(exists("/m_data/usr/upload"));
    EXPECT_FALSE(std::filesystem::is_symlink(kBackup));
}

TEST_F(Restore, OfAPathWithADetourRemovesTheFileAndHasNothingToSay) {
    write(kBackup, packed(record(1, kFile, "bytes"), kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore("/m_data/usr/www/../backup.bin"));
    EXPECT_FALSE(exists(kBackup));
    EXPECT_FALSE(log().contains("remove restore file error!"));
}

TEST_F(Restore, OfAPathThatLeadsToNoFileIsRefused) {
    std::filesystem::create_symlink("/m_data/usr/missing", "/m_data/usr/link");
    for (const char *path : {"/m_data/usr/missing", "/m_data/usr/link", ""}) {
        log().clear();
        EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(path));
        expect_warning("frwk_dbrm_restore", with_errno("decrypt restore file error!", ENOENT));
        EXPECT_EQ(1u, log().system_lines().size()) << log().text();
    }
    EXPECT_EQ(0u, doubles::base::zn_decrypt_file_ex.calls());
    EXPECT_TRUE(std::filesystem::is_symlink("/m_data/usr/link"));
}

TEST_F(Restore, ThatCanNotBeDecipheredChangesNothing) {
    doubles::base::zn_decrypt_file_ex.stand_in([](const char *path) {
        EXPECT_STREQ(kBackup, path);
        return 0;
    });
    write(kBackup, "uploaded");
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kBackup));
    expect_warning("frwk_dbrm_restore", "decrypt restore file error!");
    EXPECT_TRUE(requests().empty());
    EXPECT_EQ("uploaded", file_text(kBackup));
}

TEST_F(Restore, OfABadTrailerChangesNothingAndTheFileStays) {
    write(kBackup, packed(record(1, kFile, "bytes"), kMagic + 1));
    EXPECT_EQ(E_APPS_ERR_FORMAT, frwk_dbrm_restore(kBackup));
    expect_warning("frwk_dbrm_restore", "decompression failed!");
    EXPECT_EQ(Requests{"zndb_get"}, requests());
    EXPECT_TRUE(exists(kBackup));
    EXPECT_FALSE(exists(kFile));
}

TEST_F(Restore, EndsWithTheCodeOfTheTrailersCheck) {
    database().plain.clear();
    write(kBackup, packed("", kMagic));
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kBackup));
    expect_warning("frwk_dbrm_restore", "decompression failed!");
}

TEST_F(Restore, EndsWhereTheDatabaseCanNotBeEmptied) {
    database().result = E_ZNDB_RET_FAILURE;
    database().spared = 1;
    write(kBackup, packed(record(1, kFile, "bytes"), kMagic));
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kBackup));
    expect_warning("frwk_dbrm_restore", "zndb reset user data failed!");
    EXPECT_EQ((Requests{"zndb_get", "zndb_reset"}), requests());
    EXPECT_TRUE(exists(kBackup));
    EXPECT_FALSE(exists(kFile));
}

TEST_F(Restore, EndsWhereTheEmptyDatabaseCanNotBeSaved) {
    database().result = E_ZNDB_RET_FAILURE;
    database().spared = 2;
    write(kBackup, packed(record(1, kFile, "bytes"), kMagic));
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kBackup));
    expect_warning("frwk_dbrm_restore", "zndb reset user data failed!");
    EXPECT_EQ(kUpToReset, requests());
    EXPECT_TRUE(exists(kBackup));
    EXPECT_FALSE(exists(kFile));
}

TEST_F(Restore, OfABodyThatCanNotBeOpenedAgainLeavesItThere) {
    write(kBackup, packed(record(1, kFile, "bytes"), kMagic));
    doubles::libc::fopen.stand_in([](const char *path, const char *mode) -> FILE * {
        if (fake_database().requests.size() == kUpToReset.size()) {
            errno = EMFILE;
            return nullptr;
        }
        return doubles::libc::fopen.real(path, mode);
    });
    EXPECT_EQ(E_APPS_ERR_IO, frwk_dbrm_restore(kBackup));
    doubles::libc::fopen.restore();
    expect_warning("frwk_dbrm_restore_process", with_errno("open restore file error!", EMFILE));
    expect_warning("frwk_dbrm_restore", "restore process failed!");
    EXPECT_TRUE(exists(kBackup));
}

TEST_F(Restore, NamesTheFileThatFailed) {
    expect_walk_failure(header(1, kFile, 100) + "too short", E_APPS_ERR_READ);
    expect_warning("frwk_dbrm_restore_process", std::string("restore file '") + kFile + "' failed!");
    EXPECT_FALSE(exists(kFile));
}

TEST_F(Restore, NamesTheDatabaseThatFailed) {
    expect_walk_failure(header(2, kUserData, 100) + "a=1\n", E_APPS_ERR_READ);
    expect_warning("frwk_dbrm_restore_process", std::string("restore db '") + kUserData + "' failed!");
    EXPECT_EQ(kUpToReset, requests());
}

TEST_F(Restore, KeepsWhatWasAppliedBeforeAFailure) {
    expect_walk_failure(record(2, kUserData, "a=1\n") + record(1, kFile, "bytes") + header(7, "/x", 0),
                        E_APPS_ERR_FORMAT);
    EXPECT_EQ("1", stored("a"));
    EXPECT_EQ("bytes", file_text(kFile));
}

TEST_F(Restore, RefusesAnyOtherType) {
    for (const uint32_t type : {0u, 3u, 0x01000000u, 0xFFFFFFFFu}) {
        log().clear();
        database().requests.clear();
        store("device_product_name", "a");
        expect_walk_failure(record(type, kFile, "bytes"), E_APPS_ERR_FORMAT);
        expect_warning("frwk_dbrm_restore_process", "invalid data type=" + std::to_string(type) + "!");
        EXPECT_FALSE(exists(kFile));
    }
}

TEST_F(Restore, RefusesANameWithoutItsEnd) {
    const std::string name = "/m_data/usr/" + std::string(116, 'n');
    for (const uint32_t type : {1u, 2u}) {
        log().clear();
        store("device_product_name", "a");
        expect_walk_failure(record(type, name, "a=1\n"), E_APPS_ERR_FORMAT);
        expect_warning("frwk_dbrm_restore_process", "invalid data name '" + name.substr(0, 127) + "'!");
        EXPECT_FALSE(exists(name.substr(0, 127)));
    }
}

TEST_F(Restore, OfAHeaderThatIsCutIsAReadError) {
    for (const size_t size : {1u, 4u, 132u, 135u}) {
        log().clear();
        store("device_product_name", "a");
        expect_walk_failure(record(1, kFile, "bytes") + header(1, kFile, 0).substr(0, size), E_APPS_ERR_READ);
        expect_warning("frwk_dbrm_restore_process", with_errno("read data hdr error!", 0));
        EXPECT_EQ("bytes", file_text(kFile));
    }
}

TEST_F(Restore, OfARecordThatClaims4GiBIsAReadErrorForAFile) {
    expect_walk_failure(header(1, kFile, 0xFFFFFFFF) + "bytes", E_APPS_ERR_READ);
    expect_warning("frwk_dbrm_restore_file", with_errno("read restore source file error!", 0));
    EXPECT_FALSE(exists(kFile));
}

TEST_F(Restore, OfARecordThatClaims4GiBHasNoMemoryForADatabase) {
    expect_walk_failure(header(2, kUserData, 0xFFFFFFFF) + "a=1\n", E_APPS_ERR_MALLOC);
    expect_warning("frwk_dbrm_restore_db", "alloc read buffer[0] failed!");
}

/* 136 plus this length is 0 in 32 bits: the walk must neither end there nor loop. */
TEST_F(Restore, OfALengthThatWrapsTheRestOfTheBodyIsAReadError) {
    expect_walk_failure(header(1, kFile, 0xFFFFFFFF - 135) + header(1, kFile, 0), E_APPS_ERR_READ);
    expect_warning("frwk_dbrm_restore_file", with_errno("read restore source file error!", 0));
}

TEST_F(Restore, LeavesNoDescriptorOpenWhateverFails) {
    const size_t before = open_descriptors();
    const std::string bodies[] = {header(9, "/x", 0), header(1, kFile, 9), header(2, kFile, 9), "x",
                                  record(1, kFile, "bytes")};
    for (const std::string &body : bodies) {
        write(kBackup, packed(body, kMagic));
        store("device_product_name", "a");
        (void)frwk_dbrm_restore(kBackup);
    }
    EXPECT_EQ(before, open_descriptors());
}

}  // namespace
