/*
 * A restore creates missing files with secrets: no other user can read them at any moment.
 */
#include <fcntl.h>
#include <sys/mman.h>

#include <atomic>
#include <new>

#include "security/backup/shared_folder.h"

namespace {

constexpr char kUpload[] = "/m_data/usr/exchange/upload.bin";

mode_t mode_of(const char *path) {
    struct stat info = {};
    EXPECT_EQ(0, ::stat(path, &info)) << path;
    return info.st_mode & 07777u;
}

/* A number that the attacker's process shares. */
class SharedCount {
  public:
    SharedCount() {
        void *page =
            ::mmap(nullptr, sizeof(*count_), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(MAP_FAILED, page);
        count_ = new (page) std::atomic<int>(0);
    }
    ~SharedCount() { (void)::munmap(count_, sizeof(*count_)); }
    SharedCount(const SharedCount &) = delete;
    SharedCount &operator=(const SharedCount &) = delete;

    std::atomic<int> *get() const { return count_; }

  private:
    std::atomic<int> *count_ = nullptr;
};

class RestoredSecret : public SharedFolder {
  protected:
    void SetUp() override {
        SharedFolder::SetUp();
        if (IsSkipped()) {
            return;
        }
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
    const SharedCount opened;
    Attacker attacker(GetParam(), [count = opened.get()] {
        const int fd = ::open(kAccounts, O_RDONLY | O_CLOEXEC);
        if (fd >= 0) {
            ++*count;
            ::close(fd);
        }
    });
    for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
        attacker.wait_for_a_move();
        restore_what_is_missing();
    }
    EXPECT_EQ(0, *opened.get());
}

QUOR_ATTACKED(RestoredSecret);
/* The same user may read the file. */
INSTANTIATE_TEST_SUITE_P(Attacked, RestoredSecretUnderAttack, testing::Values(As::kAnotherUser),
                         name_of_attacker);

}  // namespace
