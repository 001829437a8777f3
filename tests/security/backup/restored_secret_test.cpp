/*
 * A restore creates missing files with secrets: no other user can read them at any moment.
 */
#include <fcntl.h>

#include <atomic>

#include "security/backup/shared_folder.h"
#include "support/file_info.h"

namespace {

constexpr char kUpload[] = "/m_data/usr/exchange/upload.bin";

class RestoredSecret : public SharedFolder {
  protected:
    void prepare() override {
        write_file(kAccounts, "admin:secret");
        write_file(kDataManager, "secret");
        ASSERT_EQ(0, zndb_set("webs_backup_account", "true"));
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        backup_ = file_text(kBackup);
    }

    void restore_what_is_missing() {
        std::filesystem::remove(kAccounts);
        std::filesystem::remove(kDataManager);
        write_file(kUpload, backup_);
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kUpload));
    }

    std::string backup_;
};

class RestoredSecretUnderAttack : public RestoredSecret {};

TEST_P(RestoredSecret, IsReadableForItsOwnerOnly) {
    restore_what_is_missing();
    EXPECT_EQ("admin:secret", file_text(kAccounts));
    EXPECT_EQ(0600u, mode_of(kAccounts));
    EXPECT_EQ(0600u, mode_of(kDataManager));
}

TEST_P(RestoredSecretUnderAttack, IsReadByNobodyElse) {
    restore_what_is_missing(); /* the files that were there before were readable for all */
    const SharedMemory<std::atomic<int>> opened;
    Attacker attacker(GetParam(), [&opened] {
        const int fd = ::open(kAccounts, O_RDONLY | O_CLOEXEC);
        if (fd >= 0) {
            ++*opened;
            ::close(fd);
        }
    });
    for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
        attacker.wait_for_a_move();
        restore_what_is_missing();
    }
    EXPECT_EQ(0, *opened);
}

QUOR_ATTACKED(RestoredSecret);
/* The same user may read the file. */
INSTANTIATE_TEST_SUITE_P(Attacked, RestoredSecretUnderAttack, testing::Values(As::kAnotherUser),
                         name_of_attacker);

}  // namespace
