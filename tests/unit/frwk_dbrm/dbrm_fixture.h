/*
 * A device for backups and restores: a database of the test's own, the device's paths in the private tree,
 * and a file cipher that leaves files as they are, unless a test wants the real one.
 */
#pragma once

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/backup_bytes.h"
#include "support/log_checks.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/dbrm_doubles.h"
#include "unit/frwk_utils/fake_database.h"

class DbrmTest : public ConfigTest {
  protected:
    static constexpr char kUserData[] = "/m_data/usr/db/user_data.txt";
    static constexpr char kAccounts[] = "/m_data/usr/www/auth.txt";
    static constexpr char kKeys[] = "/m_data/usr/www/xpsk.bin";
    static constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";
    static constexpr char kBackup[] = "/m_data/usr/backup.bin";
    static constexpr char kGrowing[] = "/m_data/usr/backup.bin.unfinished";

    static constexpr uint32_t kMagic = 97; /* of the product "a" */

    void SetUp() override {
        ConfigTest::SetUp();
        log_.emplace();
        std::filesystem::remove_all("/m_data/usr");
        for (const char *folder : {"/m_data/usr/db", "/m_data/usr/www", "/m_data/usr/dbm"}) {
            std::filesystem::create_directories(folder);
        }
        ::umask(022); /* as on a device: what is made is for others to read, not to write */
        doubles::base::zn_encrypt_file_ex.stand_in([](const char *) { return 1; });
        doubles::base::zn_decrypt_file_ex.stand_in([](const char *) { return 1; });
        store("device_product_name", "a");
    }

    void TearDown() override {
        log_.reset();
        ConfigTest::TearDown();
    }

    LogCapture &log() { return *log_; }

    static void write(const std::string &path, const std::string &bytes) {
        ASSERT_TRUE(write_text(path, bytes)) << path;
    }

    static bool exists(const std::string &path) { return std::filesystem::exists(path); }

    /* The requests that the database received: "zndb_set key=value", or only the call's name. */
    std::vector<std::string> requests() {
        std::vector<std::string> all;
        for (const DatabaseRequest &request : database().requests) {
            all.push_back(request.call == "zndb_set" ? "zndb_set " + request.key + "=" + request.value
                                                     : request.call);
        }
        return all;
    }

    /* Makes the open of one path fail. */
    static void refuse_to_open(const std::string &refused, const std::string &mode, int error) {
        doubles::libc::fopen.stand_in([=](const char *path, const char *given) -> FILE * {
            if (path == refused && given == mode) {
                errno = error;
                return nullptr;
            }
            return doubles::libc::fopen.real(path, given);
        });
    }

    /* Lets writes pass up to a number of them; the next ones write nothing. */
    static void fill_disk_after(unsigned writes) {
        doubles::libc::fwrite.forget_calls();
        doubles::libc::fwrite.stand_in(
            [=](const void *data, size_t size, size_t count, FILE *file) -> size_t {
                if (doubles::libc::fwrite.calls() > writes) {
                    errno = ENOSPC;
                    return 0;
                }
                return doubles::libc::fwrite.real(data, size, count, file);
            });
    }

  private:
    std::optional<LogCapture> log_;
};
