/*
 * The space for the settings of a backup, looked at before the old ones are discarded.
 */
#include "frwk_dbrm/restore_room.h"

#include <sys/statvfs.h>

#include <map>

#include "formats/check_line.h"
#include "frwk_dbrm.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::header;
using backup_bytes::packed;
using backup_bytes::record;

constexpr uint64_t kBlock = 4096;
constexpr size_t kTooLong = size_t{64} << 20;
const std::string kFolder = "/m_data/usr/db";
const std::string kJournalFolder = "/tmp/m_tmp/zndb";
const std::string kJournal = kJournalFolder + "/journal.plain";
const std::string kPermJournal = kJournalFolder + "/journal.perm";
const std::string kPermFolder = "/m_data/usr_permanent/db";
const std::string kPermFile = kPermFolder + "/perm_data.txt";
const std::string kText = std::string(2000, 'a') + "\n" + std::string(2000, 'b') + "\r\n"; /* 4003 bytes */

class RestoreRoom : public DbrmTest {
  protected:
    void SetUp() override {
        DbrmTest::SetUp();
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::create_directories(kJournalFolder);
    }

    /* Gives each folder a disk with so many free blocks; a single entry is the disk of both. */
    static void limit(const std::map<std::string, uint64_t> &free) {
        doubles::libc::stat.stand_in([free](const char *path, struct stat *found) {
            const int result = doubles::libc::stat.real(path, found);
            found->st_dev = static_cast<dev_t>(std::distance(free.begin(), free.find(path)));
            return result;
        });
        doubles::libc::statvfs.stand_in([free](const char *path, struct statvfs *found) {
            *found = {};
            found->f_frsize = kBlock;
            found->f_blocks = 100;
            found->f_bfree = found->f_bavail = free.count(path) != 0 ? free.at(path) : free.begin()->second;
            return 0;
        });
    }

    bool has_room(const std::string &body = record(2, kUserData, kText)) {
        write(kBackup, body);
        return backup::check_room_for_settings(kBackup) == E_APPS_ERR_SUCCESS;
    }

    void expect_missing(const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_restore", text)) << log().text();
    }
};

TEST_F(RestoreRoom, IsThereWhereTheFileAndTheJournalFit) {
    limit({{kFolder, 1}, {kJournalFolder, 1}});
    EXPECT_TRUE(has_room());
    EXPECT_EQ("", log().text());
}

TEST_F(RestoreRoom, IsMissingWhereTheFileDoesNotFit) {
    limit({{kFolder, 0}, {kJournalFolder, 9}});
    EXPECT_FALSE(has_room());
    expect_missing("no space for the settings: '/m_data/usr/db/user_data.txt' needs 4065 bytes, 0 are free!");
}

/* The database adds it to the settings. */
TEST_F(RestoreRoom, IncludesThatOfTheCheckLine) {
    limit({{kFolder, 1}, {kJournalFolder, 9}});
    EXPECT_TRUE(has_room(record(2, kUserData, std::string(4096 - kCheckLineRoom, 'a'))));
    EXPECT_FALSE(has_room(record(2, kUserData, std::string(4097 - kCheckLineRoom, 'a'))));
}

/* Each line of the journal is longer by two bytes, and a CR may end one. */
TEST_F(RestoreRoom, IsMissingWhereTheJournalDoesNotFit) {
    limit({{kFolder, 9}, {kJournalFolder, 1}});
    EXPECT_TRUE(has_room(record(2, kUserData, kText + std::string(4096 - 4003 - 8, 'c'))));
    EXPECT_FALSE(has_room(record(2, kUserData, kText + std::string(4096 - 4003 - 7, 'c'))));
    expect_missing(
        "no space for the settings: '/tmp/m_tmp/zndb/journal.plain' needs 4097 bytes, 4096 are free!");
}

TEST_F(RestoreRoom, IsSharedByFileAndJournalOnOneDisk) {
    limit({{"both", 2}});
    EXPECT_TRUE(has_room());
    limit({{"both", 1}});
    EXPECT_FALSE(has_room());
}

/* The reset empties it before the settings come. */
TEST_F(RestoreRoom, IncludesThatOfThePresentFile) {
    limit({{kFolder, 0}, {kJournalFolder, 9}});
    write(kUserData, std::string(5000, '#'));
    EXPECT_TRUE(has_room());
    std::filesystem::create_hard_link(kUserData, std::string(kUserData) + ".kept");
    EXPECT_FALSE(has_room());
}

/* The database gives the file before the last save up for want of space. */
TEST_F(RestoreRoom, IncludesThatOfThePreviousFile) {
    limit({{kFolder, 0}, {kJournalFolder, 9}});
    const std::string previous = std::string(kUserData) + ".previous";
    write(previous, std::string(5000, '#'));
    EXPECT_TRUE(has_room());
    std::filesystem::create_hard_link(previous, previous + ".kept");
    EXPECT_FALSE(has_room());
    std::filesystem::remove(previous);
    std::filesystem::remove(previous + ".kept");
}

TEST_F(RestoreRoom, DoesNotIncludeThatOfADamagedFileWhichTheDatabaseKeeps) {
    limit({{kFolder, 0}, {kJournalFolder, 9}});
    write(kUserData, "a=1\nbad\n" + std::string(5000, '#') + "\n");
    EXPECT_FALSE(has_room());
}

/* The perm store is saved together with the emptied settings. */
TEST_F(RestoreRoom, IsLessByTheCopyOfADamagedPermStoreOnTheSameDisk) {
    limit({{kFolder, 1}, {kJournalFolder, 9}});
    std::filesystem::create_directories(kPermFolder);
    write(kPermFile, "a=1\n");
    doubles::libc::stat.stand_in([](const char *path, struct stat *found) {
        const int result = doubles::libc::stat.real(path, found);
        found->st_dev = path == kJournalFolder ? 1 : 0;
        return result;
    });
    EXPECT_TRUE(has_room());
    write(kPermFile, "bad\n");
    EXPECT_FALSE(has_room());
    write(kPermFile, "a=1\n");
    write(kPermJournal, "M+a=2\n");
    EXPECT_FALSE(has_room());
    write(kPermJournal, "");
    write(kJournal, "P+a=3\n");
    EXPECT_TRUE(has_room());
    std::filesystem::remove_all(kPermFolder);
}

TEST_F(RestoreRoom, IsMoreForRootWhereBlocksAreReserved) {
    doubles::libc::statvfs.stand_in([](const char *, struct statvfs *found) {
        *found = {};
        found->f_frsize = kBlock;
        found->f_blocks = found->f_bfree = 100;
        return 0;
    });
    EXPECT_EQ(::geteuid() == 0, has_room());
}

TEST_F(RestoreRoom, OfADiskWithoutALimitIsThere) {
    doubles::libc::statvfs.stand_in([](const char *, struct statvfs *found) {
        *found = {};
        found->f_frsize = kBlock;
        return 0;
    });
    EXPECT_TRUE(has_room());
}

TEST_F(RestoreRoom, ThatIsUnknownIsThere) {
    limit({{kFolder, 0}, {kJournalFolder, 0}});
    doubles::libc::statvfs.fail(EIO);
    EXPECT_TRUE(has_room());
    std::filesystem::remove_all(kFolder);
    std::filesystem::remove_all(kJournalFolder);
    EXPECT_TRUE(has_room());
}

TEST_F(RestoreRoom, IsNotNeededWithoutSettings) {
    limit({{kFolder, 0}, {kJournalFolder, 0}});
    EXPECT_TRUE(has_room(record(2, kUserData, "")));
    EXPECT_TRUE(has_room(record(1, kDataManager, kText)));
    EXPECT_TRUE(has_room(""));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::check_room_for_settings("/m_data/usr/missing"));
}

/* The restore reports it. */
TEST_F(RestoreRoom, IsCountedToTheEndOfAShortBackup) {
    limit({{kFolder, 1}, {kJournalFolder, 1}});
    EXPECT_TRUE(has_room(header(2, kUserData, 4000) + "a=1\n"));
    doubles::libc::read.fail(EIO);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::check_room_for_settings(kBackup));
}

TEST_F(RestoreRoom, IsMissingInMemoryForATextOf64MiB) {
    EXPECT_TRUE(has_room(record(2, kUserData, std::string(kTooLong - 1, '#'))));
    EXPECT_TRUE(has_room(header(2, kUserData, kTooLong) + "cut short"));
    write(kBackup, record(2, kUserData, std::string(kTooLong, '#')));
    EXPECT_EQ(E_APPS_ERR_MALLOC, backup::check_room_for_settings(kBackup));
    expect_missing("the settings have 67108864 bytes, 67108863 can be restored!");
}

TEST_F(RestoreRoom, InMemoryIsLookedAtBeforeTheSettingsAreReset) {
    write(kBackup, packed(record(2, kUserData, std::string(kTooLong, '#')), kMagic));
    EXPECT_EQ(E_APPS_ERR_MALLOC, frwk_dbrm_restore(kBackup));
    EXPECT_EQ((std::vector<std::string>{"zndb_get"}), requests());
    EXPECT_TRUE(exists(kBackup));
}

TEST_F(RestoreRoom, IsLookedAtBeforeTheSettingsAreReset) {
    write(kUserData, "a=old\n");
    write(kBackup, packed(record(2, kUserData, kText) + record(1, kDataManager, "data"), kMagic));
    limit({{kFolder, 0}, {kJournalFolder, 0}});
    EXPECT_EQ(E_APPS_ERR_NOSPACE, frwk_dbrm_restore(kBackup));
    EXPECT_EQ((std::vector<std::string>{"zndb_get"}), requests());
    EXPECT_TRUE(exists(kBackup));
    EXPECT_FALSE(exists(kDataManager));
}

}  // namespace
