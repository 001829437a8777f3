/*
 * A device whose user configuration zndb_tool backs up and restores.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>

#include "cipher.h"
#include "support/backup_bytes.h"
#include "support/key_files.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

inline const ToolChecks kTool("zndb_tool");

inline const std::string kFolder = "/m_data/usr/exchange";
inline const std::string kBackup = kFolder + "/router.bak";
inline constexpr size_t kLarge = size_t{32} << 20; /* takes a while to encrypt */
inline constexpr uint32_t kMagic = 0x3A54D70D;     /* of the product QR-100 */
inline const std::string kDatabase = "/m_data/usr/dbm/database.db";

inline size_t files_in(const std::string &folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

inline bool copies_are_left() {
    for (const auto &entry : std::filesystem::directory_iterator("/tmp/m_tmp")) {
        if (entry.path().filename().string().find("zndb_tool") == 0) {
            return true;
        }
    }
    return false;
}

class ZndbToolBackup : public ZndbTest {
  protected:
    ZndbToolBackup() {
        for (const char *folder : {kFolder.c_str(), "/m_data/usr/dbm"}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directories(folder);
        }
        remove_key_files();
        write_key_file(kProductKeyPath, some_key());
        EXPECT_TRUE(write_text(kDatabase, "data"));
        EXPECT_TRUE(write_text(paths::kDefaultsFile, "device_product_name=QR-100\n"));
        start();
        EXPECT_EQ(0, zndb_set("ssid", "home"));
        EXPECT_EQ(0, zndb_save());
    }

    ~ZndbToolBackup() override { remove_key_files(); }

    /* Starts the database of a device whose product's name is a setting like any other. */
    void make_product_a_setting() {
        zndb_->kill();
        std::filesystem::remove(paths::kDefaultsFile);
        start();
        EXPECT_EQ(0, zndb_set("device_product_name", "QR-100"));
        EXPECT_EQ(0, zndb_save());
    }

    /* Writes a backup with this body, and expects the words for its failed restore. */
    void expect_failed_restore(const std::string &body, const std::string &words) {
        ASSERT_TRUE(write_text(kBackup, backup_bytes::packed(body, kMagic)));
        ASSERT_EQ(1, zn_encrypt_file_ex(kBackup.c_str()));
        kTool.expect_failure(1, words, {"restore", kBackup});
        EXPECT_FALSE(copies_are_left());
    }

    /* A device of another kind, which can't read the files that this one encrypted. */
    static void change_key() { write_key_file(kProductKeyPath, some_key(1)); }
};

/* A setting's value after a restore. */
inline std::string restored(const std::string &key) {
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    return plain(key);
}
