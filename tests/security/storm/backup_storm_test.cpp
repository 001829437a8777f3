/*
 * Backups that were altered in any way, restored with the real database: all are refused, and no setting
 * changes.
 */
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "security/storm/storm_count.h"
#include "system/backup/backup_fixture.h"

namespace {

constexpr size_t kLarge = 100000;

class BackupStorm : public BackupSystem {
  protected:
    size_t below(size_t bound) { return random_() % bound; }

    /* One alteration; a good backup never comes out of it. */
    std::string altered(std::string bytes) {
        const size_t at = below(bytes.size());
        const size_t length = 1 + below(bytes.size() - at);
        switch (below(6)) {
            case 0:
                bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
                return bytes;
            case 1:
                return bytes.substr(0, at);
            case 2:
                return bytes.erase(at, length);
            case 3:
                return bytes.insert(at, random_bytes(length, static_cast<unsigned>(random_())));
            case 4:
                return bytes.insert(at, bytes.substr(at, length));
            default:
                bytes[at] = static_cast<char>(bytes[at] + 1 + static_cast<char>(below(255)));
                return bytes;
        }
    }

    std::mt19937 random_{20261124};
};

TEST_F(BackupStorm, NoAlteredBackupIsTaken) {
    start_with("a=as it was\n");
    write_file(kDataManager, random_bytes(kLarge, 5));
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    const std::string good = file_text(kBackup);
    ASSERT_EQ(0, zndb_set("a", "changed since"));
    ASSERT_EQ(0, zndb_save());
    const std::string settings = file_text(kUserData);

    const int count = storm_count(150, 1500);
    for (int i = 0; i < count; ++i) {
        const std::string forged = altered(good);
        if (forged == good) {
            continue;
        }
        write_file(kBackup, forged);
        ASSERT_NE(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup)) << "backup " << i;
        ASSERT_EQ(settings, file_text(kUserData)) << "backup " << i;
    }
    EXPECT_EQ("changed since", plain("a"));
    EXPECT_EQ(random_bytes(kLarge, 5), file_text(kDataManager));

    write_file(kBackup, good);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("as it was", plain("a"));
}

}  // namespace
