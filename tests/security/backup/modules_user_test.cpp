/*
 * Root's backups and restores on a device whose folders belong to another user, as whom the modules run: root
 * has a place for its private copy, leaves the files to that user, and follows none of that user's links.
 */
#include <set>

#include "security/backup/shared_folder.h"
#include "support/file_info.h"

namespace {

constexpr char kUpload[] = "/m_data/usr/exchange/upload.bin";
constexpr char kSecret[] = "/etc/secret.file";
constexpr char kSecretText[] = "only root may read this";
constexpr char kPages[] = "/m_data/usr/www";
constexpr char kPagesAside[] = "/m_data/usr/www.aside";
constexpr char kLink[] = "/m_data/usr/link";
constexpr char kAccountsOfRoot[] = "/etc/cron.d/auth.txt";

/* The keys of private folders that are left anywhere. */
std::set<std::string> private_folders() {
    std::set<std::string> left;
    for (const char *parent : {"/tmp", "/tmp/m_tmp", "/m_data/usr"}) {
        for (const std::string &name : names_in(parent)) {
            if (name.find("backup.private.") == 0) {
                left.insert(std::string(parent) + "/" + name);
            }
        }
    }
    return left;
}

class ModulesUser : public SharedFolder {
  protected:
    void prepare() override {
        write_file(kAccounts, "admin:secret");
        write_file(kSecret, kSecretText);
        ASSERT_EQ(0, ::chmod(kSecret, 0600));
        ASSERT_EQ(0, zndb_set("webs_backup_account", "true"));
        ASSERT_EQ(0, zndb_save());
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        genuine_ = file_text(kBackup);
        give_to(kOtherUser);
    }

    void TearDown() override {
        give_to(::geteuid());
        for (const char *path : {kSecret, kLink, kPages, kPagesAside}) {
            std::filesystem::remove_all(path);
        }
        SharedFolder::TearDown();
    }

    static void give_to(uid_t user) {
        for (const char *path : {"/tmp/m_tmp", "/m_data/usr", "/m_data/usr/db", kPages, kAccounts, kFolder}) {
            (void)::lchown(path, user, user);
        }
    }

    apps_err_e_type restore() {
        write_file(kUpload, genuine_);
        return frwk_dbrm_restore(kUpload);
    }

    /* Whether the secret got into a backup that root makes now. */
    static bool is_secret_backed_up() {
        return frwk_dbrm_backup(kBackup) == E_APPS_ERR_SUCCESS &&
               deciphered(kBackup).find(kSecretText) != std::string::npos;
    }

    std::string genuine_;
};

TEST_P(ModulesUser, KeepsTheFilesThatRootRestores) {
    ASSERT_EQ(0, zndb_set("ssid", "changed"));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore());
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_EQ("admin:secret", file_text(kAccounts));
    EXPECT_EQ(kOtherUser, owner_of(kAccounts));
    EXPECT_EQ(std::set<std::string>(), private_folders());
}

TEST_P(ModulesUser, GetsTheFilesThatWereMissing) {
    std::filesystem::remove_all(kPages);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore());
    EXPECT_EQ("admin:secret", file_text(kAccounts));
    EXPECT_EQ(kOtherUser, owner_of(kAccounts));
    EXPECT_EQ(kOtherUser, owner_of(kPages));
}

TEST_P(ModulesUser, GetsABackupFromRoot) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_NE(std::string::npos, deciphered(kBackup).find("admin:secret"));
    EXPECT_EQ(std::set<std::string>(), private_folders());
}

/* The attacker replaces the file, or its folder, by a link, at any time. */
TEST_P(ModulesUser, GainsNothingByLinksToAFile) {
    std::filesystem::create_symlink(kSecret, kLink);
    ASSERT_EQ(0, ::lchown(kLink, kOtherUser, kOtherUser));
    Attacker attacker(GetParam(), [] {
        (void)::rename(kLink, kAccounts);
        (void)::rename(kAccounts, kLink);
    });
    for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
        attacker.wait_for_a_move();
        (void)restore();
        ASSERT_EQ(kSecretText, file_text(kSecret));
        ASSERT_FALSE(is_secret_backed_up());
    }
}

TEST_P(ModulesUser, GainsNothingByLinksToAFolder) {
    Attacker attacker(GetParam(), [] {
        (void)::rename(kPages, kPagesAside);
        (void)::symlink("/etc/cron.d", kPages);
        (void)::unlink(kPages);
        (void)::rename(kPagesAside, kPages);
    });
    for (int round = 0; round < attack_rounds() && !HasFatalFailure(); ++round) {
        attacker.wait_for_a_move();
        (void)restore();
        ASSERT_FALSE(std::filesystem::exists(kAccountsOfRoot));
    }
}

INSTANTIATE_TEST_SUITE_P(Attacked, ModulesUser, testing::Values(As::kAnotherUser), name_of_attacker);

}  // namespace
