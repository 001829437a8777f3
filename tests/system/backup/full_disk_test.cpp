/*
 * Full disks at each step: no half-written file stays, and the result code shows the step. The
 * small disk is a mount of the backing-up process alone.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/child_process.h"
#include "system/backup/backup_fixture.h"

namespace {

constexpr size_t kSize = 300 << 10;

class FullDisk : public BackupSystem {
  protected:
    void SetUp() override {
        start_with("a=1\n");
        write_file(kDataManager, random_bytes(kSize, 5));
    }

    /* Starts a process in which a folder is a small disk of its owner's; then runs a command there. */
    void start_device(const std::string &folder, const std::string &size,
                      const std::string &command = "true") {
        std::vector<std::string> words = {"unshare", "--mount"};
        if (::geteuid() != 0) {
            words.emplace_back("--map-root-user");
        }
        words.insert(words.end(), {"sh", "-c",
                                   "mkdir -p " + folder + " && mount -t tmpfs -o mode=0755,size=" + size +
                                       " tmpfs " + folder + " && " + command + " && exec " BACKUP_DEVICE});
        device_ = std::make_unique<ChildProcess>(words, std::vector<std::string>{"QUOR_DEBUG=1"});
        ASSERT_EQ("started", device_->read_line()) << device_->errors();
    }

    std::string ask(const std::string &words) {
        device_->write_line(words);
        return device_->read_line().value_or("no reply");
    }

    /* A path as the process sees it. */
    std::string of_device(const std::string &path) const {
        return "/proc/" + std::to_string(device_->pid()) + "/root" + path;
    }

    void expect_error(const std::string &text) {
        EXPECT_TRUE(device_->wait_for_error(text)) << device_->errors();
    }

    std::unique_ptr<ChildProcess> device_;
};

TEST_F(FullDisk, WhileABackupIsWritten) {
    start_device("/m_data/usr/small", "64k");
    EXPECT_EQ("18", ask("backup /m_data/usr/small/backup.bin"));
    expect_error("write backup target file error! errno=28");
    expect_error("backup process failed!");
    EXPECT_EQ(std::vector<std::string>(), names_in(of_device("/m_data/usr/small")));
}

TEST_F(FullDisk, WhileTheHeaderOfABackupIsWritten) {
    start_device("/m_data/usr/small", "16k", "head -c 16384 /dev/zero > /m_data/usr/small/full");
    EXPECT_EQ("18", ask("backup /m_data/usr/small/backup.bin"));
    expect_error("write file hdr failed! errno=28");
    EXPECT_EQ(std::vector<std::string>{"full"}, names_in(of_device("/m_data/usr/small")));
}

TEST_F(FullDisk, WhileABackupIsEnciphered) {
    start_device("/m_data/usr/small", "400k");
    EXPECT_EQ("21", ask("backup /m_data/usr/small/backup.bin"));
    expect_error("encrypt backup file failed!");
    EXPECT_EQ(std::vector<std::string>(), names_in(of_device("/m_data/usr/small")));
}

/* The backup is complete before it is written to the disk that others fill. */
TEST_F(FullDisk, WhileABackupIsBroughtToAFolderOfOthers) {
    start_device("/m_data/usr/small", "64k", "chmod 1777 /m_data/usr/small");
    EXPECT_EQ("18", ask("backup /m_data/usr/small/backup.bin"));
    expect_error("write backup target file error! errno=28");
    EXPECT_EQ(std::vector<std::string>(), names_in(of_device("/m_data/usr/small")));
}

TEST_F(FullDisk, WhileABackupIsDecipheredTheUploadedFileStaysAsItCame) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    start_device("/m_data/usr/small", "400k", std::string("cp ") + kBackup + " /m_data/usr/small/up");
    EXPECT_EQ("21", ask("restore /m_data/usr/small/up"));
    expect_error("decrypt restore file error!");
    EXPECT_EQ(std::vector<std::string>{"up"}, names_in(of_device("/m_data/usr/small")));
    EXPECT_TRUE(file_text(kBackup) == file_text(of_device("/m_data/usr/small/up")));
    EXPECT_EQ("1", plain("a"));
}

TEST_F(FullDisk, WhileAFileIsRestoredNoHalfFileStays) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    start_device("/m_data/usr/dbm", "64k");
    EXPECT_EQ("18", ask(std::string("restore ") + kBackup));
    expect_error("write restore target file error! errno=28");
    expect_error(std::string("restore file '") + kDataManager + "' failed!");
    expect_error("restore process failed!");
    EXPECT_EQ(std::vector<std::string>(), names_in(of_device("/m_data/usr/dbm")));
    EXPECT_EQ(std::vector<std::string>(), names_in(kFolder));
    EXPECT_EQ("1", plain("a"));
}

/* The settings would be gone. */
TEST_F(FullDisk, ThatHasNoSpaceForTheSettingsChangesNothing) {
    std::string settings = "a=2\n";
    for (int i = 0; i < 100; ++i) {
        settings += "key" + std::to_string(i) + "=" + std::string(1000, 'v') + "\n";
    }
    write_file(kUserData, settings);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    const std::string backup = file_text(kBackup);
    for (const char *folder : {"/m_data/usr/db", "/tmp/m_tmp/zndb"}) {
        write_file(kBackup, backup);
        start_device(folder, "64k");
        EXPECT_EQ("6", ask(std::string("restore ") + kBackup));
        expect_error("no space for the settings: '" + std::string(folder));
        EXPECT_EQ("1", plain("a"));
        EXPECT_TRUE(std::filesystem::exists(kBackup));
    }
}

TEST_F(FullDisk, OfTheDatabaseEndsTheRestoreWhenItSaves) {
    std::string settings = "device_product_name=" + std::string(kProduct) + "\n";
    for (int i = 0; i < 100; ++i) {
        settings += "key" + std::to_string(i) + "=" + std::string(1000, 'v') + "\n";
    }
    write_file(kUserData, settings);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));

    zndb_->kill();
    write_file(paths::kDefaultsFile, settings.substr(0, settings.find('\n') + 1));
    start_after("mount -t tmpfs -o size=16k tmpfs /m_data/usr/db");
    EXPECT_EQ(E_APPS_ERR_PROCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ(std::string(1000, 'v'), plain("key99"));
    EXPECT_EQ(std::vector<std::string>(), names_in(kFolder));
}

}  // namespace
