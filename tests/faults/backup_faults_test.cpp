/*
 * Backup and restore, and the runs of diagnostics.
 */
#include <cstring>
#include <filesystem>

#include "faults/faulty_device.h"
#include "frwk_dbrm.h"
#include "frwk_diag.h"
#include "support/key_files.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace faults {

namespace {

using BackupFaults = FaultyDevice;

constexpr char kBackup[] = "/m_data/usr/exchange/backup.bin";
constexpr char kKeptBackup[] = "/m_data/usr/kept/backup.bin";

/* In a folder where anybody writes, so that both work in a private folder. */
constexpr char kStrangeFolder[] = "/m_data/usr/strange";
constexpr char kStrangeBackup[] = "/m_data/usr/strange/backup.bin";

constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";
constexpr char kUserData[] = "/m_data/usr/db/user_data.txt";

/* Before a restore. */
constexpr char kOtherValue[] = "another";
constexpr char kOtherFile[] = "another";

constexpr char kPrivateFolderStays[] =
    "a private folder that can't be removed stays until the next one is made";

const std::vector<long> kBackupFailures = {E_APPS_ERR_IO, E_APPS_ERR_READ, E_APPS_ERR_WRITE,
                                           E_APPS_ERR_FORMAT, E_APPS_ERR_INTERNAL};
const std::vector<long> kRestoreFailures = {E_APPS_ERR_INTERNAL, E_APPS_ERR_FORMAT, E_APPS_ERR_IO,
                                            E_APPS_ERR_READ,     E_APPS_ERR_WRITE,  E_APPS_ERR_MALLOC,
                                            E_APPS_ERR_PROCESS};

std::string whole_file() {
    return std::string(1500, 'd');
}

void put_device() {
    put_text("/etc/quor_product.key", some_key());
    put_text(kUserData, "device_product_name=QR-100\nkey=value\n");
    put_text(kDataManager, whole_file());
    for (const char *path : {kBackup, kKeptBackup, kStrangeBackup}) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    }
    std::filesystem::permissions(kStrangeFolder, std::filesystem::perms::all);
}

/* The device as it is before a restore, but for the name that the backup is bound to. */
void change_device() {
    zndb_set("device_product_name", "QR-100");
    zndb_set("key", kOtherValue);
    zndb_save();
    put_text(kDataManager, kOtherFile);
    for (const char *path : {kBackup, kStrangeBackup}) {
        std::filesystem::copy_file(kKeptBackup, path, std::filesystem::copy_options::overwrite_existing);
    }
}

/* Two records, each with its header, and the trailer. */
constexpr size_t kBodyFrame = 2 * 136 + 24;

bool is_whole_backup(const char *path) {
    const std::string body = deciphered(path, "/m_data/usr/kept/body");
    const std::string database = "device_product_name=QR-100\nkey=value\n";
    const std::string file = whole_file();
    return body.size() == kBodyFrame + database.size() + file.size() &&
           body.find(database) != std::string::npos && body.find(file) != std::string::npos;
}

bool is_restored() {
    return stored("key") == "value" && file_text(kDataManager) == whole_file();
}

std::vector<Scenario> backup() {
    return {
        Scenario("frwk_dbrm_backup")
            .prepared([] { std::filesystem::remove(kBackup); })
            .called([] { return frwk_dbrm_backup(kBackup); })
            .verified([] { return is_whole_backup(kBackup); })
            .unchanged([] { return !std::filesystem::exists(kBackup); })
            .failing(kBackupFailures)
            .except({Call::read}, Waived::kEffect, "nobody else cuts the file in which a backup grows",
                    Fault::Way::kEnds),
        Scenario("frwk_dbrm_backup")
            .prepared([] { std::filesystem::remove(kStrangeBackup); })
            .called([] { return frwk_dbrm_backup(kStrangeBackup); })
            .verified([] { return is_whole_backup(kStrangeBackup); })
            .unchanged([] { return !std::filesystem::exists(kStrangeBackup); })
            .failing(kBackupFailures)
            .except({Call::rmdir}, Waived::kFile, kPrivateFolderStays)
            .except({Call::read}, Waived::kEffect, "nobody else cuts the file in which a backup grows",
                    Fault::Way::kEnds),
    };
}

/*
 * If the backup is unchanged, nothing on the device has changed. If it is changed, no record has been
 * looked at. Where it is gone, the settings were emptied, and the file may have been replaced: never by a
 * part.
 */
bool is_sound_without_backup() {
    const std::string file = file_text(kDataManager);
    const bool is_missing = !std::filesystem::exists(kDataManager);
    return stored("key") != kOtherValue && (is_missing || file == kOtherFile || file == whole_file());
}

bool is_sound() {
    if (!std::filesystem::exists(kBackup)) {
        return is_sound_without_backup();
    }
    const bool as_it_came = file_text(kBackup) == file_text(kKeptBackup);
    return file_text(kDataManager) == kOtherFile && (!as_it_came || stored("key") == kOtherValue);
}

/* If a copy is decrypted, the backup itself is unchanged as long as it exists. */
bool is_sound_beside_strangers() {
    if (!std::filesystem::exists(kStrangeBackup)) {
        return is_sound_without_backup();
    }
    return file_text(kDataManager) == kOtherFile && file_text(kStrangeBackup) == file_text(kKeptBackup);
}

std::vector<Scenario> restore() {
    return {
        Scenario("frwk_dbrm_restore")
            .prepared(change_device)
            .called([] { return frwk_dbrm_restore(kBackup); })
            .verified([] { return is_restored() && !std::filesystem::exists(kBackup); })
            .unchanged(is_sound)
            .failing(kRestoreFailures)
            .except({Call::unlinkat}, Waived::kEffectIfLogged, "all is restored, and the backup stays"),
        Scenario("frwk_dbrm_restore")
            .prepared(change_device)
            .called([] { return frwk_dbrm_restore(kStrangeBackup); })
            .verified([] { return is_restored() && !std::filesystem::exists(kStrangeBackup); })
            .unchanged(is_sound_beside_strangers)
            .failing(kRestoreFailures)
            .except({Call::unlinkat}, Waived::kEffectIfLogged, "all is restored, and the backup stays")
            .except({Call::rmdir}, Waived::kFile, kPrivateFolderStays),
    };
}

frwk_diag_ctx g_ctx;
frwk_diag_req g_req;
bool g_answer = false;

void make_context() {
    frwk_diag_free(&g_ctx);
    frwk_diag_init(&g_ctx);
}

std::vector<Scenario> diagnostics() {
    return {
        Scenario("frwk_diag_init").called([] { return frwk_diag_init(&g_ctx); }).quiet(),
        Scenario("frwk_diag_exec")
            .prepared(make_context)
            .called([] { return frwk_diag_exec(FRWK_DIAG_TYPE_PING, &g_req, &g_ctx); })
            .released([] {
                g_answer = g_ctx.buf.data != nullptr && std::strcmp(g_ctx.buf.data, "answers\n") == 0;
                frwk_diag_free(&g_ctx);
            })
            .verified([] { return g_answer; })
            .failing({E_APPS_ERR_IO, E_APPS_ERR_MALLOC})
            .except({Call::lstat64}, Waived::kEffectIfLogged,
                    "no tool is run from a folder that can't be looked at; the output then says that no tool "
                    "was found")
            .varying(),
        Scenario("frwk_diag_free")
            .prepared([] {
                make_context();
                frwk_diag_exec(FRWK_DIAG_TYPE_PING, &g_req, &g_ctx);
            })
            .called([] {
                frwk_diag_free(&g_ctx);
                return 0;
            })
            .verified([] { return g_ctx.fp == nullptr && g_ctx.buf.data == nullptr; })
            .except({Call::unlink}, Waived::kFile, "a file that can't be removed stays"),
    };
}

}  // namespace

TEST_F(BackupFaults, Backup) {
    put_device();
    start_database();
    run_scenarios(backup());
}

TEST_F(BackupFaults, Restore) {
    put_device();
    start_database();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kKeptBackup));
    run_scenarios(restore());
}

TEST_F(BackupFaults, Diagnostics) {
    tools_.put_script("ping", "echo answers\n");
    std::strcpy(g_req.ping.target, "host");
    run_scenarios(diagnostics());
}

}  // namespace faults
