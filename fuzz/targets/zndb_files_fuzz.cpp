/*
 * Fuzzes the database's files and its journal: the loaded values survive a crash and, after a save, a power
 * cut.
 *
 * The input is the plain file, the perm file, the defaults, the factory overlay, the journal of an older
 * service and those of the three stores, each followed by a NUL.
 */
#include <filesystem>
#include <set>

#include "database.h"
#include "formats/device_paths.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"
#include "zndb.h"

namespace {

constexpr const char *kFiles[] = {paths::kPlainFile,   paths::kPermFile,      paths::kDefaultsFile,
                                  paths::kFactoryFile, paths::kOldJournal,    paths::kPlainJournal,
                                  paths::kPermJournal, paths::kFactoryJournal};

bool make_folders() {
    bool made = true;
    for (const char *file : kFiles) {
        made = make_folder(std::filesystem::path(file).parent_path().c_str()) && made;
    }
    return made;
}

/* Every text of the files that may be a key. */
std::set<std::string> possible_keys(std::string_view input) {
    constexpr std::string_view kEnds("=\n\r\0", 4);
    std::set<std::string> keys;
    while (!input.empty()) {
        const std::string_view word = input.substr(0, input.find_first_of(kEnds));
        keys.emplace(word);
        if (word.size() > 2) {
            keys.emplace(word.substr(2)); /* after the letters of a journal record */
        }
        input.remove_prefix(std::min(word.size() + 1, input.size()));
    }
    return keys;
}

/* The database's answers to these keys, each checked to be a valid value. */
std::string answers(Database *database, const std::set<std::string> &keys) {
    std::string all;
    for (const std::string &key : keys) {
        for (const StoreId id : kStoreIds) {
            char value[ZNDB_VALUE_LEN] = "?";
            const apps_err_e_type ret = database->get(id, key, value, sizeof(value));
            FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_ZNDB_NO_FOUND);
            FUZZ_CHECK(std::memchr(value, '\0', sizeof(value)) != nullptr);
            all += std::to_string(ret) + ":" + value + "\n";
        }
    }
    return all;
}

std::string answers_after_start(const std::set<std::string> &keys) {
    Database database;
    database.load();
    return answers(&database, keys);
}

void save_everything() {
    Database database;
    database.load();
    FUZZ_CHECK(database.save_ram() == E_APPS_ERR_SUCCESS);
    FUZZ_CHECK(database.save() == E_APPS_ERR_SUCCESS);
    FUZZ_CHECK(database.save_factory() == E_APPS_ERR_SUCCESS);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folders();
    FUZZ_CHECK(ready);
    FuzzInput input(data, size);
    for (const char *file : kFiles) {
        put_file(file, input.text());
        (void)std::filesystem::remove(std::string(file) + paths::kPreviousSuffix);
    }
    const std::set<std::string> keys = possible_keys({reinterpret_cast<const char *>(data), size});

    const std::string first = answers_after_start(keys);
    FUZZ_CHECK(answers_after_start(keys) == first);
    save_everything();
    FUZZ_CHECK(answers_after_start(keys) == first);
    for (const StoreId id : kStoreIds) {
        (void)std::filesystem::remove(paths_of(id).journal);
    }
    FUZZ_CHECK(answers_after_start(keys) == first);
    return 0;
}
