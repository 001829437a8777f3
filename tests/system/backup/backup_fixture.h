/*
 * A device with settings, accounts and a data manager's database to back up, and the files' real cipher.
 */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cipher.h"
#include "frwk_dbrm.h"
#include "support/backup_bytes.h"
#include "support/folder_names.h"
#include "support/key_files.h"
#include "support/random_bytes.h"
#include "system/zndb/zndb_process.h"

inline constexpr char kUserData[] = "/m_data/usr/db/user_data.txt";
inline constexpr char kAccounts[] = "/m_data/usr/www/auth.txt";
inline constexpr char kWebKeys[] = "/m_data/usr/www/xpsk.bin";
inline constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";
inline constexpr char kBackup[] = "/m_data/usr/exchange/backup.bin";
inline constexpr char kFolder[] = "/m_data/usr/exchange";
inline constexpr char kProduct[] = "QR-100";

/* The files of a device, without its database. */
inline void make_device_files() {
    for (const char *folder : {"/m_data/usr/www", "/m_data/usr/dbm", kFolder}) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    remove_key_files();
    write_key_file(kProductKeyPath, some_key());
}

inline void write_file(const std::string &path, const std::string &bytes) {
    ASSERT_TRUE(write_text(path, bytes)) << path;
}

/* Writes a file as a backup that a device with this key encrypted. */
inline void write_enciphered(const std::string &path, const std::string &bytes) {
    write_file(path, bytes);
    ASSERT_EQ(1, zn_encrypt_file_ex(path.c_str()));
}

/* The decrypted bytes of a backup; "" if it is not of this device. */
inline std::string deciphered(const std::string &backup) {
    const std::string copy = "/m_data/usr_permanent/copy";
    std::filesystem::copy_file(backup, copy, std::filesystem::copy_options::overwrite_existing);
    const std::string bytes = zn_decrypt_file_ex(copy.c_str()) ? file_text(copy) : "";
    std::filesystem::remove(copy);
    return bytes;
}

/* With the real database. */
class BackupSystem : public ZndbTest {
  protected:
    BackupSystem() { make_device_files(); }

    /* Starts the database of a device with these settings and a product name. */
    void start_with(const std::string &settings) {
        write_file(kUserData, std::string("device_product_name=") + kProduct + "\n" + settings);
        start();
    }
};
