/*
 * The client of the database and the typed settings on top of it.
 */
#include <atomic>
#include <cstring>
#include <filesystem>
#include <utility>

#include "faults/faulty_device.h"
#include "frwk_utils.h"
#include "support/checked_file.h"
#include "support/key_files.h"
#include "support/wait_until.h"
#include "zndb.h"
#include "zndb_ext.h"

namespace faults {

namespace {

using DatabaseFaults = FaultyDevice;

char g_value[ZNDB_VALUE_LEN];
int32_t g_number = 0;
frwk_conninfo_t g_info;

void clear_value() {
    std::memset(g_value, 0, sizeof(g_value));
    g_number = 0;
}

bool is_cleared() {
    return g_value[0] == '\0' && g_number == 0;
}

bool got(const char *text) {
    return std::strcmp(g_value, text) == 0;
}

/* Results of a call that got no answer, or one that it can't use. */
const std::vector<long> kNoAnswer = {E_ZNDB_RET_FAILURE, E_ZNDB_RET_IPC};
const std::vector<long> kNotTyped = {E_APPS_ERR_FAILURE, E_APPS_ERR_BUSY};

constexpr char kSavedFile[] = "/m_data/usr/db/user_data.txt";
constexpr char kDefaultsFile[] = "/m_webui/usr/db/default_data.txt";

/* A value of the plain store to be read. */
std::function<void()> with(const char *value) {
    return [value] {
        clear_value();
        zndb_set("key", value);
    };
}

/* The service may have saved, and its answer got lost. */
bool is_old_or_new(const std::string &content) {
    const std::string saved = checked_lines(content);
    return saved.empty() || saved == "key=" + stored("key") + "\n";
}

std::vector<Scenario> writing() {
    return {
        Scenario("zndb_set")
            .prepared([] { zndb_del("key"); })
            .called([] { return zndb_set("key", "value"); })
            .verified([] { return stored("key") == "value"; })
            .failing(kNoAnswer),
        Scenario("zndb_set_perm_data")
            .prepared([] { zndb_del_perm("key"); })
            .called([] { return zndb_set_perm_data("key", "value"); })
            .verified([] { return stored_perm("key") == "value"; })
            .failing(kNoAnswer),
        Scenario("zndb_del")
            .prepared(with("value"))
            .called([] { return zndb_del("key"); })
            .verified([] { return stored("key").empty(); })
            .failing(kNoAnswer),
        Scenario("zndb_del_perm")
            .prepared([] { zndb_set_perm_data("key", "value"); })
            .called([] { return zndb_del_perm("key"); })
            .verified([] { return stored_perm("key").empty(); })
            .failing(kNoAnswer),
        Scenario("zndb_reset")
            .prepared(with("value"))
            .called([] { return zndb_reset(); })
            .verified([] { return stored("key").empty(); })
            .failing(kNoAnswer),
        Scenario("zndb_save")
            .prepared([] {
                std::filesystem::remove(kSavedFile);
                zndb_set("key", stored("key") == "1" ? "2" : "1");
            })
            .called([] { return zndb_save(); })
            .verified([] { return checked_lines(file_text(kSavedFile)) == "key=" + stored("key") + "\n"; })
            .unchanged([] { return is_old_or_new(file_text(kSavedFile)); })
            .failing(kNoAnswer),
        Scenario("zndb_save_ram").called([] { return zndb_save_ram(); }).failing(kNoAnswer),
    };
}

std::vector<Scenario> reading() {
    return {
        Scenario("zndb_get")
            .prepared(with("value"))
            .called([] { return zndb_get("key", g_value, sizeof(g_value)); })
            .verified([] { return got("value"); })
            .unchanged(is_cleared)
            .failing(kNoAnswer),
        Scenario("zndb_get_perm")
            .prepared([] {
                clear_value();
                zndb_set_perm_data("key", "value");
            })
            .called([] { return zndb_get_perm("key", g_value, sizeof(g_value)); })
            .verified([] { return got("value"); })
            .unchanged(is_cleared)
            .failing(kNoAnswer),
        Scenario("zndb_get_def")
            .prepared(clear_value)
            .called([] { return zndb_get_def("default", g_value, sizeof(g_value)); })
            .verified([] { return got("of the image"); })
            .unchanged(is_cleared)
            .failing(kNoAnswer),
    };
}

zndb_batch *g_batch = nullptr;
std::string g_listed;

void free_batch() {
    zndb_batch_free(g_batch);
    g_batch = nullptr;
}

/* An empty batch for the call. */
void make_batch() {
    free_batch();
    g_batch = zndb_batch_new();
}

/* One with a change in each of two stores, so that it makes a difference. */
void make_changes() {
    make_batch();
    const char *value = stored("key") == "1" ? "2" : "1";
    zndb_batch_set(g_batch, ZNDB_STORE_PLAIN, "key", value);
    zndb_batch_set(g_batch, ZNDB_STORE_PERM, "key", value);
}

bool is_whole() {
    return stored("key") == stored_perm("key");
}

int note_key(const char *key, const char *value, void *) {
    g_listed += std::string(key) + "=" + value + " ";
    return 0;
}

int g_sent = 0;

/* What was added to a batch is sent by the test, to see it. */
void send_batch() {
    g_sent = zndb_batch_apply(g_batch);
    free_batch();
}

std::vector<Scenario> batches() {
    return {
        Scenario("zndb_batch_new")
            .prepared(free_batch)
            .called([] {
                g_batch = zndb_batch_new();
                return g_batch != nullptr ? 0 : 1;
            })
            .released(free_batch)
            .failing({1}),
        Scenario("zndb_batch_set")
            .prepared([] {
                zndb_del("key");
                make_batch();
            })
            .called([] { return zndb_batch_set(g_batch, ZNDB_STORE_PLAIN, "key", "value"); })
            .verified([] { return g_sent == 0 && stored("key") == "value"; })
            .released(send_batch)
            .failing({E_ZNDB_RET_FAILURE}),
        Scenario("zndb_batch_delete")
            .prepared([] {
                zndb_set("key", "value");
                make_batch();
            })
            .called([] { return zndb_batch_delete(g_batch, ZNDB_STORE_PLAIN, "key"); })
            .verified([] { return g_sent == 0 && stored("key").empty(); })
            .released(send_batch)
            .failing({E_ZNDB_RET_FAILURE}),
        Scenario("zndb_batch_expect")
            .prepared([] {
                zndb_set("key", "value");
                make_batch();
            })
            .called([] { return zndb_batch_expect(g_batch, ZNDB_STORE_PLAIN, "key", "other"); })
            .verified([] { return g_sent == E_ZNDB_RET_CONFLICT; })
            .released(send_batch)
            .failing({E_ZNDB_RET_FAILURE}),
        Scenario("zndb_batch_apply")
            .prepared(make_changes)
            .called([] { return zndb_batch_apply(g_batch); })
            .verified(is_whole)
            .unchanged(is_whole)
            .released(free_batch)
            .failing(kNoAnswer),
        Scenario("zndb_compare_and_set")
            .prepared([] { zndb_del("key"); })
            .called([] { return zndb_compare_and_set(ZNDB_STORE_PLAIN, "key", nullptr, "value"); })
            .verified([] { return stored("key") == "value"; })
            .failing(kNoAnswer),
        Scenario("zndb_list")
            .prepared([] {
                zndb_set("key", "value");
                g_listed.clear();
                g_listed.reserve(100);
            })
            .called([] { return zndb_list(ZNDB_STORE_PLAIN, "ke", note_key, nullptr); })
            .verified([] { return g_listed == "key=value "; })
            .unchanged([] { return g_listed.empty(); })
            .failing(kNoAnswer),
    };
}

/* Finds the view mapped. */
void prepare_view() {
    clear_value();
    zndb_set("key", "value");
    zndb_set_perm_data("key", "value");
    (void)zndb_view_serial();
}

zndb_watcher *g_watcher = nullptr;
std::atomic<int> g_told{0};

void note_change(const zndb_change *, void *) {
    ++g_told;
}

void end_watcher() {
    if (g_watcher != nullptr) {
        zndb_unwatch(g_watcher);
    }
    g_watcher = nullptr;
}

bool is_told() {
    const int before = g_told;
    zndb_set("key", stored("key") == "1" ? "2" : "1");
    return wait_until([before] { return g_told > before; });
}

std::vector<Scenario> viewing() {
    return {
        Scenario("zndb_view_get")
            .prepared(prepare_view)
            .called([] { return zndb_view_get("key", g_value, sizeof(g_value)); })
            .verified([] { return got("value"); })
            .quiet(),
        Scenario("zndb_view_get_perm")
            .prepared(prepare_view)
            .called([] { return zndb_view_get_perm("key", g_value, sizeof(g_value)); })
            .verified([] { return got("value"); })
            .quiet(),
        Scenario("zndb_view_serial")
            .prepared(prepare_view)
            .called([] { return zndb_view_serial() != 0 ? 0 : 1; })
            .quiet(),
        Scenario("zndb_watch")
            .prepared([] {
                end_watcher();
                prepare_view();
            })
            .called([] { return zndb_watch("key", note_change, nullptr, &g_watcher); })
            .verified(is_told)
            .unchanged([] { return g_watcher == nullptr; })
            .keeping()
            .failing({E_ZNDB_RET_FAILURE}),
        Scenario("zndb_unwatch")
            .prepared([] {
                end_watcher();
                zndb_watch("key", note_change, nullptr, &g_watcher);
            })
            .called([] { return zndb_unwatch(std::exchange(g_watcher, nullptr)); })
            .quiet(),
    };
}

std::vector<Scenario> typed() {
    return {
        Scenario("frwk_zndb_get_key_value")
            .prepared(with("17"))
            .called([] {
                return frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_INT, &g_number, sizeof(g_number));
            })
            .verified([] { return g_number == 17; })
            .unchanged(is_cleared)
            .failing(kNotTyped),
        Scenario("frwk_zndb_get_bool")
            .prepared(with("true"))
            .called([] { return frwk_zndb_get_bool("key") ? 1 : 0; })
            .failing({0}),
        Scenario("frwk_zndb_set_key_value")
            .prepared([] {
                g_number = 17;
                zndb_del("key");
            })
            .called([] { return frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_INT, &g_number); })
            .verified([] { return stored("key") == "17"; })
            .failing(kNotTyped),
        Scenario("frwk_zndb_set_key_perm_value")
            .prepared([] {
                g_number = 17;
                zndb_del_perm("key");
            })
            .called([] { return frwk_zndb_set_key_perm_value("key", FRWK_DATA_TYPE_INT, &g_number); })
            .verified([] { return stored_perm("key") == "17"; })
            .failing(kNotTyped),
        Scenario("frwk_zndb_get_conninfo")
            .prepared([] {
                g_info = {};
                zndb_set("key", "1,60,00:11:22:33:44:55,10.0.0.2");
            })
            .called([] { return frwk_zndb_get_conninfo("key", &g_info); })
            .verified([] { return std::strcmp(g_info.ipaddr, "10.0.0.2") == 0; })
            .unchanged([] { return g_info.ipaddr[0] == '\0'; })
            .failing(kNotTyped),
    };
}

/* The stored value without its cipher. */
std::string decoded() {
    char text[16] = "";
    frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_CIPHER, text, sizeof(text));
    return text;
}

std::vector<Scenario> encoded() {
    return {
        Scenario("frwk_zndb_set_key_value_encrypt")
            .prepared([] { zndb_del("key"); })
            .called([] { return frwk_zndb_set_key_value_encrypt("key", FRWK_DATA_TYPE_CIPHER, "secret", 6); })
            .verified([] { return decoded() == "secret"; })
            .failing({E_APPS_ERR_INTERNAL, E_APPS_ERR_BUSY, E_APPS_ERR_FAILURE}),
        Scenario("frwk_zndb_get_key_value_decrypt")
            .prepared([] {
                clear_value();
                frwk_zndb_set_key_value_encrypt("key", FRWK_DATA_TYPE_CIPHER, "secret", 6);
            })
            .called([] {
                return frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_CIPHER, g_value,
                                                       sizeof(g_value));
            })
            .verified([] { return got("secret"); })
            .unchanged(is_cleared)
            .failing({E_APPS_ERR_FORMAT, E_APPS_ERR_BUSY, E_APPS_ERR_FAILURE}),
    };
}

}  // namespace

TEST_F(DatabaseFaults, Writing) {
    start_database();
    run_scenarios(writing());
}

TEST_F(DatabaseFaults, Reading) {
    put_text(kDefaultsFile, "default=of the image\n");
    start_database();
    run_scenarios(reading());
}

TEST_F(DatabaseFaults, BatchesAndLists) {
    start_database();
    run_scenarios(batches());
}

TEST_F(DatabaseFaults, ViewAndWatch) {
    start_database();
    run_scenarios(viewing());
}

TEST_F(DatabaseFaults, TypedSettings) {
    start_database();
    run_scenarios(typed());
}

TEST_F(DatabaseFaults, EncodedSettings) {
    put_text("/etc/quor_product.key", some_key());
    start_database();
    run_scenarios(encoded());
}

}  // namespace faults
