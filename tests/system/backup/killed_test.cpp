/*
 * Processes that are killed at any moment of a backup, and while a backup is being decrypted.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "support/child_process.h"
#include "support/killer.h"
#include "system/backup/backup_fixture.h"

namespace {

using std::chrono::microseconds;

constexpr int kRounds = 40;
constexpr int kMostRounds = 400; /* where a busy machine lets no kill come early enough */
constexpr size_t kSize = 2 << 20;

class Killed : public BackupSystem {
  protected:
    void SetUp() override {
        start_with("a=1\n");
        write_file(kDataManager, random_bytes(kSize, 6));
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        whole_ = deciphered(kBackup);
        ASSERT_LT(kSize, whole_.size());
    }

    /* Gives a process a command, and kills it after a while unless it has replied before. */
    static bool killed(const std::string &command, microseconds delay) {
        ChildProcess device({BACKUP_DEVICE});
        EXPECT_EQ("started", device.read_line());
        device.write_line(command);
        { const Killer killer(device.pid(), delay); }
        EXPECT_EQ(128 + SIGKILL, device.exit_status());
        return !device.read_line(std::chrono::milliseconds(0));
    }

    /* None for each fourth: on a busy machine a delay is never as short as it is drawn. */
    microseconds random_delay() {
        ++delays_;
        return delays_ % 4 == 0
                   ? microseconds(0)
                   : microseconds(std::uniform_int_distribution<int64_t>(0, longest_.count())(random_));
    }

    /* Closes in on the time that a command takes, so that kills fall within it. */
    void adapt(bool was_killed) {
        longest_ = was_killed ? longest_ * 11 / 10 : longest_ * 8 / 10 + microseconds(10);
    }

    std::string whole_; /* the bytes of a backup under its cipher */
    int delays_ = 0;
    microseconds longest_{20000};
    std::mt19937 random_{20240302};
};

TEST_F(Killed, AtAnyMomentOfABackupThereIsNoPartOfOneUnderItsName) {
    const std::string target = std::string(kFolder) + "/target.bin";
    int kills = 0;
    for (int round = 0; round < kRounds || (kills <= kRounds / 10 && round < kMostRounds); ++round) {
        std::filesystem::remove(target);
        const bool was_killed = killed("backup " + target, random_delay());
        if (std::filesystem::exists(target)) {
            ASSERT_TRUE(deciphered(target) == whole_) << "round " << round;
        } else {
            ASSERT_TRUE(was_killed) << "round " << round;
        }
        kills += was_killed ? 1 : 0;
        adapt(was_killed);
    }
    EXPECT_GT(kills, kRounds / 10);

    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(target.c_str()));
    std::vector<std::string> names = names_in(kFolder);
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::string>{"backup.bin", "target.bin"}), names);
}

TEST_F(Killed, AtAnyMomentAnOlderBackupStaysUntilTheNewOneIsWhole) {
    write_file(kUserData, std::string("device_product_name=") + kProduct + "\na=2\n");
    for (int round = 0; round < kRounds / 4; ++round) {
        const bool was_killed = killed(std::string("backup ") + kBackup, random_delay());
        const std::string found = deciphered(kBackup);
        ASSERT_TRUE(found == whole_ || found.find("a=2\n") != std::string::npos) << "round " << round;
        ASSERT_EQ(whole_.size(), found.size());
        adapt(was_killed);
    }
}

/* The upload is the backup as it came, or the bytes under its cipher, with or without the trailer. */
TEST_F(Killed, AtAnyMomentOfARestoreTheUploadedFileIsWholeOrUsedUp) {
    const std::string upload = std::string(kFolder) + "/upload.bin";
    const std::string backup = file_text(kBackup);
    int as_it_came = 0;
    for (int round = 0; round < kRounds || (as_it_came == 0 && round < kMostRounds); ++round) {
        write_file(upload, backup);
        const bool was_killed = killed("restore " + upload, random_delay());
        if (std::filesystem::exists(upload)) {
            const std::string found = file_text(upload);
            ASSERT_TRUE(found == backup || found == whole_ || found == whole_.substr(0, whole_.size() - 24))
                << "round " << round << ": " << found.size() << " bytes";
            as_it_came += found == backup ? 1 : 0;
        }
        ASSERT_EQ(0, zndb_set("device_product_name", kProduct));
        adapt(was_killed && std::filesystem::exists(upload));
    }
    EXPECT_GT(as_it_came, 0);

    write_file(upload, backup);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(upload.c_str()));
    EXPECT_EQ("1", plain("a"));
    EXPECT_TRUE(random_bytes(kSize, 6) == file_text(kDataManager));
    EXPECT_EQ(std::vector<std::string>{"backup.bin"}, names_in(kFolder));
}

}  // namespace
