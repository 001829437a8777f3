/*
 * What leads back: the values before a batch, a whole store as it was, and the last save. All of it becomes
 * batches like those of clients.
 */
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "database.h"
#include "database_steps.h"
#include "file_check.h"
#include "file_steps.h"
#include "os_log.h"

namespace {

using Change = JournalRecord::Change;

std::optional<std::string> copy_of(const std::string *value) {
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

JournalRecord record_to(const KeyChange &change, const std::optional<std::string> &value) {
    return value ? JournalRecord{change.store, Change::kSet, change.key, *value}
                 : JournalRecord{change.store, Change::kErase, change.key, {}};
}

bool is_value(const std::string *present, const std::optional<std::string> &value) {
    return value ? present != nullptr && *present == *value : present == nullptr;
}

/* Adds what makes the values those that are wanted. The texts point into both. */
void add_differences(StoreId id, const StoreValues &values, const StoreValues &wanted,
                     std::vector<JournalRecord> &records) {
    for (const auto &[key, value] : values) {
        if (wanted.find(key) == wanted.end()) {
            records.push_back({id, Change::kErase, key, {}});
        }
    }
    for (const auto &[key, value] : wanted) {
        const auto found = values.find(key);
        if (found == values.end() || found->second != value) {
            records.push_back({id, Change::kSet, key, value});
        }
    }
}

/* Copies of the records' keys, which would otherwise point into the store that the records change. */
class OwnTexts {
  public:
    explicit OwnTexts(std::vector<JournalRecord> &records) {
        texts_.reserve(records.size());
        for (JournalRecord &record : records) {
            texts_.emplace_back(record.key);
            record.key = texts_.back();
        }
    }

  private:
    std::vector<std::string> texts_;
};

/* Syncs a file and its name: it may be of a save that could not do so, or of a service that was killed. */
bool is_on_disk(const std::string &path) {
    UniqueFd fd;
    const int error = open_file(path, O_RDONLY, fd);
    if (error != 0 && error != ENOENT) {
        return false;
    }
    return (!fd || ::fsync(fd.get()) == 0) && sync_folder_of(path) == 0 && sync_folders_above(path) == 0;
}

}  // namespace

apps_err_e_type Database::preview_batch(ZndbItemSpan items, BatchAnswer &answer,
                                        std::vector<KeyChange> &changes) {
    const Lock lock(mutex_);
    std::vector<JournalRecord> records;
    const apps_err_e_type result = check_batch(items, answer, records);
    for (const JournalRecord &record : records) {
        const bool sets = record.change == Change::kSet;
        changes.push_back({record.store, std::string(record.key),
                           copy_of(store(record.store).find(record.key)),
                           sets ? std::optional(std::string(record.value)) : std::nullopt});
    }
    return result;
}

apps_err_e_type Database::open_all_journals() {
    for (const StoreId id : kStoreIds) {
        const apps_err_e_type result = open_journal(id);
        if (result != E_APPS_ERR_SUCCESS) {
            return result;
        }
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::copy_values(StoreId id, StoreValues &values) {
    const Lock lock(mutex_);
    const apps_err_e_type result = open_journal(id);
    if (result == E_APPS_ERR_SUCCESS) {
        values = store(id).values();
    }
    return result;
}

/* Keys that a store is rid of may exceed its limits meanwhile, so there is no check of the room. */
apps_err_e_type Database::put_back(const WayBack &way_back) {
    const Lock lock(mutex_);
    const apps_err_e_type result = open_all_journals();
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    std::vector<JournalRecord> records;
    StoreValues wanted;
    for (const KeyChange &change : way_back.changes) {
        const JournalRecord record = record_to(change, change.before);
        if (way_back.is_whole) {
            wanted[change.key] = change.before.value_or("");
            continue;
        }
        const bool may_change = change.store != StoreId::kPlain || !way_back.plain_was_reset ||
                                is_value(store(change.store).find(change.key), change.after);
        if (may_change && is_change(record)) {
            records.push_back(record);
        }
    }
    if (way_back.is_whole) {
        add_differences(StoreId::kPlain, store(StoreId::kPlain).values(), wanted, records);
    }
    const OwnTexts texts(records);
    return change_all(records);
}

/* Whether the store has keys that are neither unsaved nor in its file, which is empty or missing. */
bool Database::has_lost_file(const Held &held, const Store &saved) {
    const Store &store = held.store;
    return saved.values().empty() && store.basis() == Basis::kFile &&
           std::any_of(store.values().begin(), store.values().end(),
                       [&store](const auto &entry) { return store.changes().count(entry.first) == 0; });
}

/* Reads what a save has written last. Fails for a file that is unreadable, damaged or gone. */
apps_err_e_type Database::read_saved(const Held &held, Store &saved) {
    const FileCheck check = check_file(held.path);
    int error = check.error == ENOENT ? 0 : check.error;
    if (check.integrity == Integrity::kWrong || check.integrity == Integrity::kCut ||
        held.store.basis() == Basis::kPartOfFile) {
        error = EIO;
    }
    error = error == 0 ? load_store(held.path, saved).error : error;
    if (error == 0 && has_lost_file(held, saved)) {
        error = EIO;
    }
    if (error != 0) {
        OS_LOG(OS_LOG_WARNING, "no way back to the last save: %s can't be read, or was removed", held.path);
    }
    return result_of_errno(error);
}

/* If the file can't be synced, its values go on counting as unsaved. */
void Database::note_undone(Held &held) {
    if (is_on_disk(held.path)) {
        held.store.begin_save();
        held.store.mark_saved();
    }
}

apps_err_e_type Database::undo_unsaved(uint32_t &dropped) {
    const Lock no_save(saving_);
    const Lock lock(mutex_);
    apps_err_e_type result = open_all_journals();
    Store saved[std::size(kStoreIds)];
    std::vector<JournalRecord> records;
    std::vector<Held *> changed_ones;
    for (Held &each : held_) {
        Store &file = saved[static_cast<size_t>(each.id)];
        if (result == E_APPS_ERR_SUCCESS && each.store.changed()) {
            result = read_saved(each, file);
            add_differences(each.id, each.store.values(), file.values(), records);
            changed_ones.push_back(&each);
        }
    }
    const OwnTexts texts(records);
    result = result == E_APPS_ERR_SUCCESS ? change_all(records) : result;
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    dropped = static_cast<uint32_t>(records.size());
    for (Held *each : changed_ones) {
        note_undone(*each);
    }
    for (Held &each : held_) {
        shorten_after_save(each);
    }
    return E_APPS_ERR_SUCCESS;
}
