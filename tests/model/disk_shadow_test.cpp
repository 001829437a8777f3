/*
 * What a power cut leaves of the folders, by what was synced before it.
 */
#include "model/disk_shadow.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/unique_fd.h"
#include "support/wait_until.h"

namespace model {
namespace {

namespace fs = std::filesystem;

const std::string kFolder = "/m_data/usr/db";
const std::string kFile = kFolder + "/user_data.txt";

void sync(const std::string &path) {
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    note_synced(fd.get());
}

class DiskShadow : public testing::Test {
  protected:
    DiskShadow() {
        fs::remove_all("/m_data/usr");
        fs::create_directories(kFolder);
        EXPECT_TRUE(write_text(kFile, "old"));
        begin_shadow();
    }

    static void replace_file(bool synced_file, bool synced_folder) {
        EXPECT_TRUE(write_text(kFile + ".tmp", "new"));
        if (synced_file) {
            sync(kFile + ".tmp");
        }
        fs::rename(kFile + ".tmp", kFile);
        if (synced_folder) {
            sync(kFolder);
        }
    }
};

TEST_F(DiskShadow, WhatIsSyncedStays) {
    replace_file(true, true);
    leave_after_power_cut(Unsynced::kLost);
    EXPECT_EQ("new", file_text(kFile));
}

TEST_F(DiskShadow, ANameThatIsNotSyncedIsLost) {
    replace_file(true, false);
    leave_after_power_cut(Unsynced::kLost);
    EXPECT_EQ("old", file_text(kFile));
    EXPECT_FALSE(fs::exists(kFile + ".tmp"));
}

TEST_F(DiskShadow, ANameMayBeThereWithoutTheBytesOfItsFile) {
    replace_file(false, false);
    leave_after_power_cut(Unsynced::kNamesOnly);
    EXPECT_EQ("", file_text(kFile));
}

TEST_F(DiskShadow, AllMayBeThere) {
    replace_file(false, false);
    leave_after_power_cut(Unsynced::kThere);
    EXPECT_EQ("new", file_text(kFile));
}

TEST_F(DiskShadow, ASyncOfAnotherFileSystemChangesNothing) {
    const fs::path elsewhere = "/tmp/m_tmp/shadow";
    fs::create_directories(elsewhere);
    for (int i = 0; i < 3000; ++i) { /* some have the number of a file of the settings */
        const std::string path = elsewhere / std::to_string(i);
        EXPECT_TRUE(write_text(path, "another"));
        sync(path);
    }
    replace_file(true, false);
    leave_after_power_cut(Unsynced::kLost);
    EXPECT_EQ("old", file_text(kFile));
}

TEST_F(DiskShadow, AFolderWhoseNameIsNotSyncedIsLostWithItsFiles) {
    fs::create_directories("/m_data/usr_permanent/db");
    EXPECT_TRUE(write_text("/m_data/usr_permanent/db/perm_data.txt", "new"));
    sync("/m_data/usr_permanent/db/perm_data.txt");
    sync("/m_data/usr_permanent/db");
    leave_after_power_cut(Unsynced::kLost);
    EXPECT_FALSE(fs::exists("/m_data/usr_permanent/db"));
}

}  // namespace
}  // namespace model
