/*
 * A backup is written to a folder that an attacker may write to: no data of the attacker is encrypted with
 * the device's key, no other file is encrypted, and no unencrypted data can be read.
 */
#include <fcntl.h>

#include <atomic>
#include <cstring>

#include "security/backup/shared_folder.h"

namespace {

constexpr char kTarget[] = "/m_data/usr/shared/backup.bin";
constexpr char kUnfinished[] = "/m_data/usr/shared/backup.bin.unfinished";
constexpr char kForged[] = "/m_data/usr/shared/forged";
constexpr char kAside[] = "/m_data/usr/shared/aside";

class BackupSwap : public SharedFolder {
  protected:
    void prepare() override { put_attackers_file(kForged, forged_body()); }

    void back_up_under_attack(Attacker *attacker) {
        for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
            attacker->wait_for_a_move();
            (void)frwk_dbrm_backup(kTarget);
            expect_no_harm();
            expect_no_forgery();
        }
        expect_clean_device();
    }

    /* An encrypted file with the backup's name has the content that the device wrote. */
    static void expect_no_forgery() {
        std::error_code error;
        const std::string copy = "/m_data/usr_permanent/forgery";
        std::filesystem::copy_file(kTarget, copy, std::filesystem::copy_options::overwrite_existing, error);
        if (!error && zn_decrypt_file_ex(copy.c_str())) {
            ASSERT_EQ(std::string::npos, file_text(copy).find("evil"));
        }
        std::filesystem::remove(copy);
    }
};

/* The file that the backup grows in is swapped for the attacker's as soon as it is there. */
TEST_P(BackupSwap, SealsNothingOfTheAttackers) {
    const ino_t forged = number_of(kForged);
    Attacker attacker(GetParam(), [forged] {
        const ino_t found = number_of(kUnfinished);
        if (found != 0 && found != forged) {
            put_link_to(kForged, kAside, kUnfinished);
        }
    });
    back_up_under_attack(&attacker);
}

TEST_P(BackupSwap, EnciphersNoOtherFile) {
    Attacker attacker(GetParam(), [] {
        if (number_of(kUnfinished) != 0) {
            (void)::symlink(kPrecious, kAside);
            (void)::rename(kAside, kUnfinished);
        }
    });
    back_up_under_attack(&attacker);
}

TEST_P(BackupSwap, FollowsNoLinkUnderTheBackupsName) {
    Attacker attacker(GetParam(), [] {
        for (const char *name : {kTarget, kUnfinished}) {
            (void)::symlink(kPrecious, kAside);
            (void)::rename(kAside, name);
        }
    });
    back_up_under_attack(&attacker);
}

/* The attacker writes to whatever file of the backup's lets itself be opened, and reads it. */
TEST_P(BackupSwap, LeavesNothingToReadInTheClear) {
    const SharedMemory<std::atomic<bool>> seen;
    Attacker attacker(GetParam(), [&seen] {
        char bytes[512];
        const int fd = ::open(kUnfinished, O_RDONLY | O_CLOEXEC);
        const ssize_t size = fd >= 0 ? ::read(fd, bytes, sizeof(bytes)) : 0;
        *seen = *seen || (size > 0 && ::memmem(bytes, static_cast<size_t>(size), "ssid", 4));
        ::close(fd);
    });
    back_up_under_attack(&attacker);
    EXPECT_FALSE(*seen);
}

QUOR_ATTACKED(BackupSwap);

}  // namespace
