#include "faults/zndb/zndb_world.h"

#include <cstring>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <vector>

#include "faults/faulty_device.h"
#include "formats/device_paths.h"
#include "formats/store_values.h"
#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"
#include "formats/zndb_wire.h"
#include "support/wait_until.h"

namespace faults {

namespace {

namespace fs = std::filesystem;

constexpr const char *kPaths[] = {paths::kPlainFile,      paths::kPermFile,     paths::kFactoryFile,
                                  paths::kDefaultsFile,   paths::kPlainJournal, paths::kPermJournal,
                                  paths::kFactoryJournal, paths::kOldJournal};

constexpr char kAllRecords[] = "P+answered=j\nM+answered=j\nF+answered=j\nM-deleted\n";

constexpr const char *kKeys[] = {"answered", "deleted", "factory", "image", "kept",  "key",
                                 "long10",   "long27",  "next",    "other", "shared"};

struct Reading {
    const char *store;
    apps_message_id_e_type msgid;
};

constexpr Reading kReadings[] = {{"plain ", E_APPS_MSG_ZNDB_GET},
                                 {"perm ", E_APPS_MSG_ZNDB_GET_PERM},
                                 {"default ", E_APPS_MSG_ZNDB_GET_DEF}};

bool carries_value(apps_message_id_e_type msgid) {
    return msgid == E_APPS_MSG_ZNDB_SET || msgid == E_APPS_MSG_ZNDB_SET_PERM ||
           msgid == E_APPS_MSG_ZNDB_FACTOR_SET;
}

/* A batch that sets a key in all stores, and deletes another one. */
std::string batch_of(const std::string &key, const std::string &value) {
    std::string body;
    for (const ZndbItem &item : {ZndbItem{ItemKind::kExpectMissing, StoreId::kPlain, "no such key", {}},
                                 ZndbItem{ItemKind::kSet, StoreId::kPlain, key, value},
                                 ZndbItem{ItemKind::kDelete, StoreId::kPlain, "shared", {}},
                                 ZndbItem{ItemKind::kSet, StoreId::kPerm, key, value},
                                 ZndbItem{ItemKind::kSet, StoreId::kFactory, key, value}}) {
        std::string bytes(item_size(item), '\0');
        write_item(bytes.data(), item);
        body += bytes;
    }
    return body;
}

template <typename Record>
std::string bytes_of(const Record &record) {
    return {reinterpret_cast<const char *>(&record), sizeof(record)};
}

std::string body_of(apps_message_id_e_type msgid, const std::string &key, const std::string &value) {
    if (msgid == kZndbBatchMessage) {
        return batch_of(key, value);
    }
    if (msgid == kZndbListMessage) {
        return bytes_of(list_body({StoreId::kPlain, Listed::kValues, key, {}}));
    }
    if (carries_value(msgid)) {
        return bytes_of(set_body({key, value}));
    }
    return key.empty() ? "" : key + '\0';
}

std::string answer_for(Database &database, apps_message_id_e_type msgid, const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    const auto length = static_cast<int32_t>(key.size() + 1);
    const long result = zndb_handle(database, {0, msgid, key.c_str(), length, value, sizeof(value)});
    return result == 0 ? value : "result " + std::to_string(result);
}

std::vector<fs::path> all_kept_files() {
    std::vector<fs::path> found;
    for (const char *path : kPaths) {
        std::error_code missing;
        for (const auto &entry : fs::directory_iterator(fs::path(path).parent_path(), missing)) {
            if (entry.path().string().find(".damaged-") != std::string::npos) {
                found.push_back(entry.path());
            }
        }
    }
    return found;
}

}  // namespace

std::string long_lines() {
    std::string lines;
    for (int number = 10; number < 28; ++number) {
        lines += "long" + std::to_string(number) + "=" + std::string(1000, 'l') + "\n";
    }
    return lines;
}

Files with_journals(Files files, const std::string &lines) {
    for (const StoreId id : kStoreIds) {
        files[paths_of(id).journal] = "";
    }
    std::istringstream all(lines);
    for (std::string line; std::getline(all, line);) {
        const StoreId id = line[0] == 'P'   ? StoreId::kPlain
                           : line[0] == 'M' ? StoreId::kPerm
                                            : StoreId::kFactory;
        files[paths_of(id).journal] += line + (all.eof() ? "" : "\n");
    }
    return files;
}

Files all_files() {
    const Files stores = {
        {paths::kDefaultsFile, "image=d\nshared=d\n"},
        {paths::kFactoryFile, "factory=f\nshared=f\n"},
        {paths::kPlainFile, "# made by hand\nshared=p\n" + long_lines() + "kept=p\nkey=old\n"},
        {paths::kPermFile, "deleted=m\nkept=m\nkey=old\n"}};
    return with_journals(stores, kAllRecords);
}

Files with_old_journal() {
    Files files = all_files();
    for (const StorePaths &store : kStorePaths) {
        files.erase(store.journal);
    }
    files[paths::kOldJournal] = kAllRecords;
    return files;
}

void put_files(const Files &files) {
    for (const char *path : kPaths) {
        fs::remove_all(fs::path(path).parent_path());
    }
    for (const auto &[path, text] : files) {
        put_text(path, text);
    }
}

std::string text_of(const std::string &path) {
    return fs::exists(path) ? file_text(path) : "(none)";
}

Files leftovers() {
    Files files;
    for (const char *path : kPaths) {
        if (path != paths::kDefaultsFile) {
            files[std::string(path) + paths::kTemporarySuffix] = "key=ha";
        }
    }
    return files;
}

Files unfinished_files() {
    Files found;
    for (const char *path : kPaths) {
        const std::string unfinished = std::string(path) + paths::kTemporarySuffix;
        if (fs::exists(unfinished)) {
            found[unfinished] = file_text(unfinished);
        }
    }
    return found;
}

size_t kept_files() {
    return all_kept_files().size();
}

void remove_kept_files() {
    for (const fs::path &path : all_kept_files()) {
        fs::remove(path);
    }
    for (const StorePaths &store : kStorePaths) {
        fs::remove(std::string(store.file) + paths::kPreviousSuffix);
    }
}

long send(Database &database, apps_message_id_e_type msgid, const std::string &key,
          const std::string &value) {
    const std::string body = body_of(msgid, key, value);
    char answer[kListPageMin];
    return zndb_handle(database, {0, msgid, body.empty() ? nullptr : body.data(),
                                  static_cast<int32_t>(body.size()), answer, sizeof(answer)});
}

Answers answers_of(Database &database) {
    Answers answers;
    for (const Reading &reading : kReadings) {
        for (const char *key : kKeys) {
            answers[std::string(reading.store) + key] = answer_for(database, reading.msgid, key);
        }
    }
    return answers;
}

Answers answers_after_crash() {
    const Files unfinished = unfinished_files();
    Database database;
    database.load();
    Answers answers = answers_of(database);
    for (const auto &[path, text] : unfinished) {
        put_text(path, text);
    }
    return answers;
}

Answers answers_of_files(const Files &files) {
    put_files(files);
    const Answers answers = answers_after_crash();
    put_files(files);
    return answers;
}

}  // namespace faults
