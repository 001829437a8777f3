/*
 * Every file that the library and the database service replace.
 */
#include "powercut/power_cut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "cipher.h"
#include "database.h"
#include "faults/faulty_device.h"
#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_dbrm.h"
#include "frwk_utils.h"
#include "os_mem.h"
#include "support/checked_file.h"
#include "support/key_files.h"
#include "support/random_bytes.h"
#include "support/wait_until.h"
#include "trial.h"
#include "zndb.h"

namespace powercut {

namespace {

using faults::deciphered;
using faults::put_text;

class PowerCuts : public faults::FaultyDevice {};

/* ---- The database's files ------------------------------------------------------------------------- */

constexpr char kJournalFolder[] = "/tmp/m_tmp/zndb";

/* Longer than two pages, so that there is something to tear. */
std::string lines_with(const std::string &value) {
    std::string lines;
    for (int i = 0; i < 12; ++i) {
        lines += "key" + std::to_string(i) + "=" + std::string(900, value[0]) + "\n";
    }
    return lines;
}

/* The first letters of all values of a store, as the service finds them at its start. */
std::string read_store(StoreId store) {
    std::filesystem::remove_all(kJournalFolder);
    Database database;
    database.load();
    std::string letters;
    for (int i = 0; i < 12; ++i) {
        char value[ZNDB_VALUE_LEN] = "";
        const bool there = database.get(store, "key" + std::to_string(i), value, sizeof(value)) == 0;
        letters += there ? value[0] : '-';
    }
    return letters;
}

void change_and_save(StoreId store) {
    Database database;
    database.load();
    for (int i = 0; i < 12; ++i) {
        (void)database.set(store, "key" + std::to_string(i), std::string(900, 'n'));
    }
    EXPECT_EQ(0, store == StoreId::kFactory ? database.save_factory() : database.save());
}

PowerCut saving(const char *name, StoreId store, const std::string &path) {
    return {name,
            {std::filesystem::path(path).parent_path()},
            [path] {
                std::filesystem::remove_all(kJournalFolder);
                put_text(path, lines_with("o"));
            },
            [store] { change_and_save(store); },
            [store] { return read_store(store); }};
}

/* Whether a file, damaged or kept, has the line. */
bool rubbish_is_kept() {
    const auto folder = std::filesystem::path(paths::kPlainFile).parent_path();
    const std::filesystem::directory_iterator files(folder);
    return std::any_of(begin(files), end(files), [](const auto &entry) {
        return file_text(entry.path()).find("\nrubbish\n") != std::string::npos;
    });
}

/* The file has two names for a moment. */
PowerCut saving_of_a_damaged_file() {
    PowerCut damaged = saving("the plain store, of a damaged file", StoreId::kPlain, paths::kPlainFile);
    damaged.prepare = [] {
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::remove_all(std::filesystem::path(paths::kPlainFile).parent_path());
        put_text(paths::kPlainFile, lines_with("o") + "rubbish\n");
    };
    damaged.read = [] { return read_store(StoreId::kPlain) + (rubbish_is_kept() ? ", rubbish kept" : ""); };
    return damaged;
}

/* What flash has done to the last save is found at the start; the file before it and a save follow. */
PowerCut saving_after_damage() {
    PowerCut damaged =
        saving("the plain store, after damage to its file", StoreId::kPlain, paths::kPlainFile);
    damaged.prepare = [] {
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::remove_all(std::filesystem::path(paths::kPlainFile).parent_path());
        put_text(std::string(paths::kPlainFile) + paths::kPreviousSuffix, saved_file(lines_with("o"), 1));
        put_text(paths::kPlainFile, lines_with("x") + "#zndb format=1 generation=2 check=00000000\n");
    };
    return damaged;
}

/* The file before the last save is at no moment less than a whole one. */
PowerCut replacing_the_previous_file() {
    PowerCut third =
        saving("the plain store, whose file is damaged later", StoreId::kPlain, paths::kPlainFile);
    third.prepare = [] {
        std::filesystem::remove_all(kJournalFolder);
        put_text(std::string(paths::kPlainFile) + paths::kPreviousSuffix, saved_file(lines_with("p"), 1));
        put_text(paths::kPlainFile, saved_file(lines_with("o"), 2));
    };
    third.read = [] {
        put_text(paths::kPlainFile, "damaged later");
        return read_store(StoreId::kPlain);
    };
    return third;
}

/* ---- Settings on trial ---- */

/* Asks as a client does. Returns the number of a new stage. */
uint32_t ask(Trial &trial, ApplyAction action, uint32_t number = 0, const std::string &page = "",
             size_t count = 0) {
    ApplyAnswer answer = {};
    const uint32_t seconds = action == ApplyAction::kCommit ? 3600 : 0;
    EXPECT_EQ(0, trial.handle({action, number, seconds, page.data(), page.size(), count}, answer));
    return answer.number;
}

/* Changes all values; somebody saves meanwhile. */
void try_new_values(Database &database, Trial &trial) {
    const uint32_t number = ask(trial, ApplyAction::kBegin);
    for (int i = 0; i < 12; ++i) {
        const std::string key = "key" + std::to_string(i);
        const std::string value(900, 'n');
        const ZndbItem item = {ItemKind::kSet, StoreId::kPlain, key, value};
        std::string page(item_size(item), '\0');
        write_item(page.data(), item);
        (void)ask(trial, ApplyAction::kAdd, number, page, 1);
    }
    (void)ask(trial, ApplyAction::kCommit, number);
    EXPECT_EQ(0, database.save());
}

/* A start reverts what was not confirmed, and saves. What others have saved stays. */
std::string read_after_trial() {
    std::string other = ", others saved";
    {
        std::filesystem::remove_all(kJournalFolder);
        Database database;
        database.load();
        Trial(database).recover();
        char value[ZNDB_VALUE_LEN] = "";
        other = database.get(StoreId::kPlain, "other", value, sizeof(value)) == 0 ? other : "";
    }
    const bool is_settled = !std::filesystem::exists(paths::kWayBackFile);
    return read_store(StoreId::kPlain) + other + (is_settled ? "" : ", unsettled");
}

/* then: what is asked after the new values are on the disk. */
PowerCut trying(const char *name, ApplyAction then, const std::set<std::string> &also = {}) {
    PowerCut trial = saving(name, StoreId::kPlain, paths::kPlainFile);
    trial.prepare = [] {
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::remove_all(std::filesystem::path(paths::kPlainFile).parent_path());
        put_text(paths::kPlainFile, saved_file(lines_with("o"), 1));
    };
    trial.call = [then] {
        Database database;
        database.load();
        Trial on_trial(database);
        on_trial.recover();
        try_new_values(database, on_trial);
        (void)ask(on_trial, then);
        EXPECT_EQ(0, database.set(StoreId::kPlain, "other", "1"));
        EXPECT_EQ(0, database.save());
    };
    trial.read = read_after_trial;
    trial.also = also;
    return trial;
}

PowerCut first_saving() {
    PowerCut first = saving("the first save of the perm store", StoreId::kPerm, paths::kPermFile);
    first.folders = {"/m_data/usr_permanent"};
    first.prepare = [] {
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::remove_all("/m_data/usr_permanent/db");
    };
    return first;
}

/* A service was killed when it had made the folder, whose name is not safe yet. */
PowerCut first_saving_after_a_kill() {
    PowerCut first = first_saving();
    first.name = "the first save, after a killed one";
    first.call = [] {
        std::filesystem::create_directory("/m_data/usr_permanent/db");
        change_and_save(StoreId::kPerm);
    };
    return first;
}

/*
 * The leftovers of a service that was killed after the rename of its save: the next service's save must make
 * the new file's name safe, though it finds nothing of the journal's delete left to do.
 */
PowerCut saving_after_a_kill() {
    const std::string path = paths::kPermFile;
    PowerCut again = saving("the perm store, after a killed save", StoreId::kPerm, path);
    const std::string successor = path + paths::kTemporarySuffix;
    again.prepare = [path, successor] {
        const std::string old = lines_with("o");
        put_text(path, old);
        put_text(successor, old.substr(old.find('\n') + 1));
        put_text(paths::kPermJournal, "M-key0\n");
    };
    again.call = [path, successor] {
        std::filesystem::rename(successor, path);
        Database database;
        database.load();
        EXPECT_EQ(0, database.save());
    };
    return again;
}

/* ---- Encrypted files ----------------------------------------------------------------------------- */

constexpr char kFolder[] = "/m_data/usr/exchange";
constexpr char kFile[] = "/m_data/usr/exchange/file";
constexpr char kCopy[] = "/m_data/usr/kept/copy";

std::string kind_of_file() {
    const std::string plain = random_bytes(10000);
    if (file_text(kFile) == plain) {
        return "plain";
    }
    return deciphered(kFile, kCopy) == plain ? "enciphered" : "broken";
}

void put_plain_file() {
    std::filesystem::remove_all(kFolder);
    put_text(kFile, random_bytes(10000));
}

PowerCut enciphering() {
    return {"zn_encrypt_file_ex", {kFolder}, put_plain_file, [] { zn_encrypt_file_ex(kFile); }, kind_of_file};
}

PowerCut deciphering() {
    const auto prepare = [] {
        put_plain_file();
        zn_encrypt_file_ex(kFile);
    };
    return {"zn_decrypt_file_ex", {kFolder}, prepare, [] { zn_decrypt_file_ex(kFile); }, kind_of_file};
}

/* ---- The device's key ----------------------------------------------------------------------------- */

std::string g_sealed;

std::string seal() {
    char *text = zn_encrypt_data("data", 4);
    std::string sealed = text != nullptr ? text : "";
    os_mem_free(text);
    return sealed;
}

/* Whether there is the key of the call, or none and another can be made. */
std::string read_key() {
    if (!std::filesystem::exists(kDeviceKeyPath)) {
        return seal().empty() ? "unusable" : "no key";
    }
    uint32_t size = 0;
    void *data = zn_decrypt_data(g_sealed.data(), static_cast<uint32_t>(g_sealed.size()), &size);
    const bool fits = data != nullptr;
    os_mem_free(data);
    return fits ? "the key" : "unusable";
}

PowerCut making_a_key() {
    return {"the device's own key",
            {kPermanentFolder},
            [] {
                remove_key_files();
                std::filesystem::create_directories(kPermanentFolder);
            },
            [] { g_sealed = seal(); },
            read_key};
}

PowerCut making_a_key_on_a_fresh_device() {
    return {"the device's own key and its folder",
            {"/m_data"},
            [] {
                remove_key_files();
                std::filesystem::remove_all(kPermanentFolder);
            },
            [] { g_sealed = seal(); },
            read_key};
}

/* ---- Backup and restore --------------------------------------------------------------------------- */

constexpr char kBackup[] = "/m_data/usr/exchange/backup.bin";
constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";

/* In a folder where anybody writes: there is nothing unencrypted, and what is, is on tmpfs. */
constexpr char kStrangeFolder[] = "/m_data/usr/strange";
constexpr char kStrangeBackup[] = "/m_data/usr/strange/backup.bin";

void make_strange_folder() {
    std::filesystem::create_directories(kStrangeFolder);
    std::filesystem::permissions(kStrangeFolder, std::filesystem::perms::all);
}

std::string read_backup_at(const char *path) {
    if (!std::filesystem::exists(path)) {
        return "none";
    }
    const std::string body = deciphered(path, kCopy);
    for (const char letter : {'o', 'n'}) {
        if (body.find(std::string(9000, letter)) != std::string::npos) {
            return std::string(1, letter);
        }
    }
    return "broken";
}

PowerCut backing_up_to(const char *name, const char *folder, const char *path) {
    return {name,
            {folder},
            [path] {
                put_text(kDataManager, std::string(9000, 'o'));
                EXPECT_EQ(0, frwk_dbrm_backup(path));
                put_text(kDataManager, std::string(9000, 'n'));
            },
            [path] { EXPECT_EQ(0, frwk_dbrm_backup(path)); },
            [path] { return read_backup_at(path); }};
}

PowerCut backing_up() {
    return backing_up_to("frwk_dbrm_backup", kFolder, kBackup);
}

PowerCut backing_up_among_strangers() {
    return backing_up_to("frwk_dbrm_backup, where anybody writes", kStrangeFolder, kStrangeBackup);
}

/* The file with the backup's name: only an encrypted one, with its trailer, can be restored. */
std::string read_what_is_restored_from(const char *path, char letter) {
    const std::string bytes(9000, letter);
    if (!std::filesystem::exists(path)) {
        return "nothing";
    }
    if (deciphered(path, kCopy).find(bytes) != std::string::npos) {
        return "the backup";
    }
    return file_text(path).find(bytes) != std::string::npos ? "the backup in the clear" : "nothing";
}

std::string read_restored(const char *path) {
    if (file_text(kDataManager) == std::string(9000, 'n')) {
        return "the new";
    }
    const bool is_old = file_text(kDataManager) == std::string(9000, 'o');
    const std::string found = std::filesystem::exists(kDataManager) ? "a part" : "none";
    return (is_old ? "the old" : found) + ", and " + read_what_is_restored_from(path, 'n');
}

/*
 * A restore has no way back, so that a part of a file is what a power cut in its middle may leave; but then
 * what it came from is still there, though unencrypted, which another restore refuses.
 */
PowerCut restoring() {
    return {"frwk_dbrm_restore",
            {"/m_data/usr/dbm", kFolder},
            [] {
                put_text(kDataManager, std::string(9000, 'n'));
                EXPECT_EQ(0, frwk_dbrm_backup(kBackup));
                put_text(kDataManager, std::string(9000, 'o'));
            },
            [] { EXPECT_EQ(0, frwk_dbrm_restore(kBackup)); },
            [] { return read_restored(kBackup); },
            {"the old, and the backup in the clear", "a part, and the backup in the clear"}};
}

/* Its name is new, and must be safe before that of the backup is gone. */
PowerCut restoring_a_missing_file() {
    PowerCut missing = restoring();
    missing.name = "frwk_dbrm_restore, of a missing file";
    missing.prepare = [] {
        put_text(kDataManager, std::string(9000, 'n'));
        EXPECT_EQ(0, frwk_dbrm_backup(kBackup));
        std::filesystem::remove(kDataManager);
    };
    missing.also = {"none, and the backup in the clear", "a part, and the backup in the clear"};
    return missing;
}

/* The backup stays as it came until all that it brings back is safe. */
PowerCut restoring_among_strangers() {
    return {"frwk_dbrm_restore, where anybody writes",
            {"/m_data/usr/dbm", kStrangeFolder},
            [] {
                put_text(kDataManager, std::string(9000, 'n'));
                EXPECT_EQ(0, frwk_dbrm_backup(kStrangeBackup));
                put_text(kDataManager, std::string(9000, 'o'));
            },
            [] { EXPECT_EQ(0, frwk_dbrm_restore(kStrangeBackup)); },
            [] { return read_restored(kStrangeBackup); },
            {"a part, and the backup"}};
}

/* ---- Small files ---------------------------------------------------------------------------------- */

constexpr char kReason[] = "/m_data/usr_permanent/reboot_reason";
constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
constexpr char kSubscription[] = "/m_data/usr/subscribe/E_APPS_MSG_TEST";
constexpr char kMask[] = "/m_data/usr/mask/mal_service";
constexpr char kMarker[] = "/m_data/usr/device_debug_mode";

std::string presence(const char *path) {
    return std::filesystem::exists(path) ? "there" : "missing";
}

/* The shell writes the reason in place: between two of them there may be none. */
PowerCut keeping_a_reason() {
    return {"frwk_reboot_reason_save",
            {kPermanentFolder},
            [] { put_text(kReason, "7"); },
            [] { frwk_reboot_reason_save(801); },
            [] { return std::to_string(frwk_reboot_reason_get()); },
            {"0"}};
}

PowerCut asking_for_a_reset() {
    return {"frwk_system_reset",
            {kPermanentFolder},
            [] { std::filesystem::remove(kResetFlag); },
            [] { frwk_system_reset(1); },
            [] { return presence(kResetFlag); }};
}

PowerCut completing_a_reset() {
    return {"frwk_system_reset_complete",
            {kPermanentFolder},
            [] { put_text(kResetFlag, ""); },
            frwk_system_reset_complete,
            [] { return presence(kResetFlag); }};
}

PowerCut clearing_subscriptions(const char *name, void (*clear)(), const std::string &folder) {
    const std::string file = folder + "/E_APPS_MSG_TEST";
    return {name,
            {folder},
            [file] { put_text(file, "sms\n"); },
            clear,
            [file] { return presence(file.c_str()); }};
}

PowerCut ending_the_last_subscription() {
    return {"frwk_ipc_msg_unsub, the last one",
            {"/m_data/usr/subscribe"},
            [] { put_text(kSubscription, "monitor_tool\n"); },
            [] { frwk_ipc_msg_unsub("E_APPS_MSG_TEST"); },
            [] { return file_text(kSubscription).empty() ? "nobody" : "somebody"; }};
}

/* Built from the trace files at each call, and written in place. */
PowerCut writing_the_mask() {
    return {"frwk_set_mals_tracemask",
            {"/m_data/usr/mask"},
            [] { put_text(kMask, "sms,mpss,lib,base,and more"); },
            [] { frwk_set_mals_tracemask(); },
            [] { return file_text(kMask).substr(0, file_text(kMask).find('\0')); },
            {""}};
}

/* From the other state. */
PowerCut switching_the_debug_mode(const char *name, int32_t enable) {
    return {name,
            {"/m_data/usr"},
            [enable] { enable != 0 ? (void)std::filesystem::remove(kMarker) : put_text(kMarker, ""); },
            [enable] { frwk_debug_mode_set(enable, "rom"); },
            [] { return presence(kMarker); }};
}

}  // namespace

TEST_F(PowerCuts, LeaveTheDatabaseOldOrNew) {
    check_power_cuts(saving("the plain store", StoreId::kPlain, paths::kPlainFile));
    check_power_cuts(saving("the perm store", StoreId::kPerm, paths::kPermFile));
    check_power_cuts(saving("the factory overlay", StoreId::kFactory, paths::kFactoryFile));
    check_power_cuts(saving_of_a_damaged_file());
    check_power_cuts(saving_after_damage());
    check_power_cuts(replacing_the_previous_file());
    check_power_cuts(first_saving());
    check_power_cuts(first_saving_after_a_kill());
    check_power_cuts(saving_after_a_kill());
}

TEST_F(PowerCuts, LeaveSettingsOnTrialOldUnlessTheyAreConfirmed) {
    check_power_cuts(trying("settings that nobody confirms", ApplyAction::kStatus));
    check_power_cuts(trying("settings that are confirmed", ApplyAction::kConfirm, {std::string(12, 'n')}));
    check_power_cuts(trying("settings that are reverted", ApplyAction::kRevert));
}

TEST_F(PowerCuts, LeaveAFileEncipheredOrNot) {
    put_text(kProductKeyPath, some_key());
    check_power_cuts(enciphering());
    check_power_cuts(deciphering());
}

TEST_F(PowerCuts, LeaveNoKeyOrAWholeOne) {
    check_power_cuts(making_a_key());
    check_power_cuts(making_a_key_on_a_fresh_device());
}

TEST_F(PowerCuts, LeaveTheOldOrTheNewBackup) {
    put_text(kProductKeyPath, some_key());
    put_text(paths::kPlainFile, "device_product_name=QR-100\n");
    std::filesystem::create_directories(kFolder);
    start_database();
    check_power_cuts(backing_up());
    make_strange_folder();
    check_power_cuts(backing_up_among_strangers());
}

TEST_F(PowerCuts, LoseNothingThatWasRestored) {
    put_text(kProductKeyPath, some_key());
    put_text(paths::kPlainFile, "device_product_name=QR-100\n");
    std::filesystem::create_directories(kFolder);
    start_database();
    check_power_cuts(restoring());
    check_power_cuts(restoring_a_missing_file());
    make_strange_folder();
    check_power_cuts(restoring_among_strangers());
}

TEST_F(PowerCuts, LeaveSmallFilesOldOrNew) {
    check_power_cuts(keeping_a_reason());
    check_power_cuts(asking_for_a_reset());
    check_power_cuts(completing_a_reset());
    check_power_cuts(clearing_subscriptions("frwk_ipc_init_sub", frwk_ipc_init_sub, "/m_data/usr/subscribe"));
    check_power_cuts(
        clearing_subscriptions("frwk_ipc_init_sub_ex", frwk_ipc_init_sub_ex, "/m_webui/subscribe"));
    check_power_cuts(ending_the_last_subscription());
}

TEST_F(PowerCuts, LeaveDeviceSettingsOldOrNew) {
    for (const char *path : {"/m_data/usr/trace/mal_service", "/m_data/usr/trace/sms"}) {
        put_text(path, "");
    }
    frwk_module_set(E_APPS_MODULE_SMS, FRWK_FLAG_RUN);
    check_power_cuts(writing_the_mask());
    start_database();
    check_power_cuts(switching_the_debug_mode("frwk_debug_mode_set, on", 1));
    check_power_cuts(switching_the_debug_mode("frwk_debug_mode_set, off", 0));
}

}  // namespace powercut
