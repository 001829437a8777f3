/*
 * A backup is restored from a folder, or from a file, that an attacker may write to: even if the attacker
 * replaces it, only authenticated data is restored. The attacker has a genuine backup and knows the product's
 * name.
 */
#include <fcntl.h>

#include <cstring>

#include "security/backup/shared_folder.h"

namespace {

constexpr char kUpload[] = "/m_data/usr/shared/upload.bin";
constexpr char kGenuine[] = "/m_data/usr/shared/genuine";
constexpr char kForged[] = "/m_data/usr/shared/forged";
constexpr char kAside[] = "/m_data/usr/shared/aside";

class RestoreSwap : public SharedFolder {
  protected:
    void prepare() override {
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        genuine_ = file_text(kBackup);
        forged_ = backup_bytes::packed(forged_body(), magic());
        put_attackers_file(kGenuine, genuine_);
        put_attackers_file(kForged, forged_);
    }

    /* Restores again and again. put_upload: puts it there. Returns how often a restore succeeded. */
    template <typename PutUpload>
    int restore_under_attack(Attacker *attacker, const char *upload, PutUpload put_upload) {
        int restored = 0;
        for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
            put_upload();
            attacker->wait_for_a_move();
            const apps_err_e_type ret = frwk_dbrm_restore(upload);
            restored += ret == E_APPS_ERR_SUCCESS ? 1 : 0;
            expect_no_harm();
            std::filesystem::remove(upload);
        }
        expect_clean_device();
        return restored;
    }

    static void put_genuine() {
        std::filesystem::remove(kUpload);
        std::filesystem::create_hard_link(kGenuine, kUpload);
    }

    std::string genuine_;
    std::string forged_;
};

/* The attacker replaces the file as soon as it has changed, which means that it was decrypted. */
TEST_P(RestoreSwap, BehindTheDecipheringGainsNothing) {
    const ino_t genuine = number_of(kGenuine);
    const ino_t forged = number_of(kForged);
    Attacker attacker(GetParam(), [genuine, forged] {
        const ino_t found = number_of(kUpload);
        if (found != 0 && found != genuine && found != forged) {
            put_link_to(kForged, kAside, kUpload);
        }
    });
    EXPECT_EQ(attack_rounds(), restore_under_attack(&attacker, kUpload, put_genuine));
}

/* Waits for a pseudo-random time, about as long as one step of a restore. */
void pass_time() {
    static uint32_t drawn = 1;
    drawn = drawn * 1664525 + 1013904223;
    for (uint32_t looks = drawn >> 22; looks > 0; --looks) {
        (void)number_of(kUpload);
    }
}

TEST_P(RestoreSwap, AtAnyTimeGainsNothing) {
    Attacker attacker(GetParam(), [] {
        put_link_to(kForged, kAside, kUpload);
        pass_time();
        put_link_to(kGenuine, kAside, kUpload);
        pass_time();
    });
    restore_under_attack(&attacker, kUpload, [] {});
}

/* The device's own backup; the attacker knows only its path. */
TEST_P(RestoreSwap, ByALinkGainsNoOtherBackup) {
    Attacker attacker(GetParam(), [] {
        (void)::symlink(kBackup, kAside);
        (void)::rename(kAside, kUpload);
    });
    restore_under_attack(&attacker, kUpload, [] {});
    EXPECT_TRUE(genuine_ == file_text(kBackup));
}

/* The folder belongs to the caller, the file to the attacker, who writes to it as soon as it was decrypted.
 */
TEST_P(RestoreSwap, OfTheFilesContentGainsNothing) {
    static constexpr char kOwnUpload[] = "/m_data/usr/own/upload.bin";
    static constexpr char kEnciphered[] = "quorfile";
    std::filesystem::create_directories("/m_data/usr/own");
    Attacker attacker(GetParam(), [this] {
        char begin[sizeof(kEnciphered) - 1] = "";
        const int fd = ::open(kOwnUpload, O_RDWR | O_CLOEXEC);
        if (fd >= 0 && ::read(fd, begin, sizeof(begin)) > 0 &&
            std::memcmp(begin, kEnciphered, sizeof(begin)) != 0 && ::ftruncate(fd, 0) == 0) {
            (void)!::pwrite(fd, forged_.data(), forged_.size(), 0);
        }
        ::close(fd);
    });
    const int restored = restore_under_attack(&attacker, kOwnUpload, [this] {
        put_attackers_file("/m_data/usr/own/aside", genuine_);
        std::filesystem::rename("/m_data/usr/own/aside", kOwnUpload);
    });
    EXPECT_EQ(attack_rounds(), restored);
    std::filesystem::remove_all("/m_data/usr/own");
}

QUOR_ATTACKED(RestoreSwap);

}  // namespace
