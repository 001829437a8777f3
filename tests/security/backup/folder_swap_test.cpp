/*
 * The folder of a backup is in an attacker's folder, and is repeatedly replaced by a link to a folder of the
 * device: nothing is created, replaced, decrypted or removed there.
 */
#include "security/backup/shared_folder.h"
#include "system/tools/tool_run.h"

namespace {

constexpr char kInner[] = "/m_data/usr/shared/inner";
constexpr char kInnerAside[] = "/m_data/usr/shared/inner.aside";
constexpr char kLink[] = "/m_data/usr/shared/link";
constexpr char kPath[] = "/m_data/usr/shared/inner/backup.bin";
constexpr char kOwnFolder[] = "/m_data/usr/own";
constexpr char kOwnFile[] = "/m_data/usr/own/backup.bin";
constexpr char kOwnPart[] = "/m_data/usr/own/backup.bin.part";

class FolderSwap : public SharedFolder {
  protected:
    void prepare() override {
        std::filesystem::create_directories(kOwnFolder);
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kOwnFile));
        own_ = file_text(kOwnFile);
        write_file(kOwnPart, "part");
        std::filesystem::create_directory(kInner);
        give_away(kInner, 0755, 0777);
    }

    void TearDown() override {
        std::filesystem::remove_all(kOwnFolder);
        SharedFolder::TearDown();
    }

    static void swap() {
        (void)::symlink(kOwnFolder, kLink);
        (void)::rename(kInner, kInnerAside);
        (void)::rename(kLink, kInner);
        (void)::unlink(kInner);
        (void)::rename(kInnerAside, kInner);
    }

    template <typename Call>
    void expect_own_folder_untouched(Call call, int rounds = attack_rounds()) {
        Attacker attacker(GetParam(), swap);
        for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
            attacker.wait_for_a_move();
            call();
            expect_no_harm();
            ASSERT_EQ(2u, names_in(kOwnFolder).size());
            ASSERT_TRUE(own_ == file_text(kOwnFile));
            ASSERT_EQ("part", file_text(kOwnPart));
        }
    }

    std::string own_;
};

TEST_P(FolderSwap, LeadsNoBackupElsewhere) {
    expect_own_folder_untouched([] { (void)frwk_dbrm_backup(kPath); });
}

TEST_P(FolderSwap, LeadsNoRestoreElsewhere) {
    expect_own_folder_untouched([] { (void)frwk_dbrm_restore(kPath); });
}

/* Of the tool's own steps: the library has written a backup, and the tool gives it its name. */
TEST_P(FolderSwap, LeadsNoToolElsewhere) {
    expect_own_folder_untouched(
        [] {
            (void)run_tool({"zndb_tool", "backup", kPath});
            (void)run_tool({"zndb_tool", "restore", kPath});
        },
        attack_rounds() / 10);
}

QUOR_ATTACKED(FolderSwap);

}  // namespace
