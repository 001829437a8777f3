/*
 * Batches: the checks of all items, then their changes, by way of the batch file.
 *
 * The batch file has the whole batch before the first journal has a part of it, and is emptied when the
 * journals have everything. A change of one key needs no batch file: one line is there completely or not at
 * all.
 */
#include <algorithm>
#include <numeric>
#include <string>
#include <tuple>

#include "database.h"
#include "database_steps.h"
#include "os_log.h"

namespace {

using Change = JournalRecord::Change;

bool is_expectation(const ZndbItem &item) {
    return item.kind == ItemKind::kExpect || item.kind == ItemKind::kExpectMissing;
}

bool has_bad_text(const ZndbItem &item) {
    return check_texts(item.key, item.value) != E_APPS_ERR_SUCCESS;
}

JournalRecord record_of(const ZndbItem &item) {
    return {item.store, item.kind == ItemKind::kSet ? Change::kSet : Change::kErase, item.key, item.value};
}

bool is_same_key(const JournalRecord &record, const JournalRecord &other) {
    return record.store == other.store && record.key == other.key;
}

/* Of several changes of a key, leaves the last one. Keeps the order of the others. */
void drop_outdated(std::vector<JournalRecord> &changes) {
    std::vector<size_t> order(changes.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::sort(order.begin(), order.end(), [&changes](size_t one, size_t other) {
        const JournalRecord &first = changes[one];
        const JournalRecord &second = changes[other];
        return std::tie(first.store, first.key, other) < std::tie(second.store, second.key, one);
    });
    const auto end = std::unique(order.begin(), order.end(), [&changes](size_t one, size_t other) {
        return is_same_key(changes[one], changes[other]);
    });
    std::sort(order.begin(), end);
    size_t kept = 0;
    for (auto each = order.begin(); each != end; ++each) {
        changes[kept++] = changes[*each];
    }
    changes.resize(kept);
}

bool holds(const ZndbItem &expectation, const std::string *value) {
    if (expectation.kind == ItemKind::kExpectMissing) {
        return value == nullptr;
    }
    return value != nullptr && *value == expectation.value;
}

/* The lines of a store's changes. */
std::string lines_of(StoreId id, const std::vector<JournalRecord> &records) {
    std::string lines;
    for (const JournalRecord &record : records) {
        if (record.store == id) {
            append_record(lines, record);
        }
    }
    return lines;
}

/* Returns the first item for which find is true, or kNoItem. */
template <typename Find>
uint32_t find_item(ZndbItemSpan items, const Find &find) {
    const ZndbItem *found = std::find_if(items.begin(), items.end(), find);
    return found != items.end() ? static_cast<uint32_t>(found - items.begin()) : kNoItem;
}

}  // namespace

/* Whether a change makes a difference to the store, or perhaps to its unreadable file. */
bool Database::is_change(const JournalRecord &record) const {
    const std::string *present = store(record.store).find(record.key);
    const bool is_there =
        record.change == Change::kSet ? present != nullptr && *present == record.value : present == nullptr;
    return !is_there || file_may_differ(record.store, record.key);
}

std::vector<JournalRecord> Database::changes_of(ZndbItemSpan items) const {
    std::vector<JournalRecord> changes;
    changes.reserve(items.size());
    for (const ZndbItem &item : items) {
        if (!is_expectation(item)) {
            changes.push_back(record_of(item));
        }
    }
    drop_outdated(changes);
    changes.erase(std::remove_if(changes.begin(), changes.end(),
                                 [this](const JournalRecord &record) { return !is_change(record); }),
                  changes.end());
    return changes;
}

bool Database::has_room_for_all(StoreId id, const std::vector<JournalRecord> &records) const {
    size_t added = 0;
    size_t removed = 0;
    size_t changed = 0;
    for (const JournalRecord &record : records) {
        if (record.store == id) {
            const bool is_there = store(id).find(record.key) != nullptr;
            added += record.change == Change::kSet && !is_there ? 1 : 0;
            removed += record.change == Change::kErase && is_there ? 1 : 0;
            changed += store(id).changes().count(record.key) == 0 ? 1 : 0;
        }
    }
    const bool is_full = added > 0 && store(id).values().size() + added - removed > kStoreKeysMax;
    return !is_full && (changed == 0 || store(id).changes().size() + changed <= kChangedKeysMax);
}

apps_err_e_type Database::check_room(const std::vector<JournalRecord> &records) const {
    for (const StoreId id : kStoreIds) {
        if (!has_room_for_all(id, records)) {
            OS_LOG(OS_LOG_WARNING,
                   "a batch refused: the %s store is full, or too many of its keys have changed",
                   name_of(id));
            return E_APPS_ERR_ZNDB_MEM;
        }
    }
    return E_APPS_ERR_SUCCESS;
}

std::vector<const JournalRecord *> Database::new_changes(const std::vector<JournalRecord> &records) const {
    std::vector<const JournalRecord *> found;
    for (const JournalRecord &record : records) {
        if (store(record.store).changes().count(record.key) == 0) {
            found.push_back(&record);
        }
    }
    return found;
}

bool Database::share_allows(const std::vector<const JournalRecord *> &records, const SentBy &by) {
    return std::all_of(std::begin(kStoreIds), std::end(kStoreIds), [&](StoreId id) {
        const auto more = std::count_if(records.begin(), records.end(),
                                        [id](const JournalRecord *record) { return record->store == id; });
        return more == 0 || shares_.allows(id, store(id), by, static_cast<size_t>(more));
    });
}

apps_err_e_type Database::change_all_in_share(const std::vector<JournalRecord> &records,
                                              BatchAnswer &answer) {
    const std::vector<const JournalRecord *> added = new_changes(records);
    const SentBy by = added.empty() ? SentBy{kNobody, 0} : shares_.sender();
    if (!share_allows(added, by)) {
        answer.verdict = E_ZNDB_RET_REFUSED;
        return E_APPS_ERR_ZNDB_MEM;
    }
    const apps_err_e_type result = change_all(records);
    if (result == E_APPS_ERR_SUCCESS) {
        answer.verdict = E_ZNDB_RET_SUCCESS;
        for (const JournalRecord *record : added) {
            store(record->store).charge(record->key, by.sender);
        }
    }
    return result;
}

/* All of these lines, or none. */
int Database::append_to_journals(const std::vector<JournalRecord> &records) {
    uint64_t sizes[std::size(kStoreIds)] = {};
    int error = 0;
    size_t done = 0;
    for (; done < std::size(kStoreIds) && error == 0; ++done) {
        Journal &journal = journal_of(kStoreIds[done]);
        sizes[done] = journal.size();
        const std::string lines = lines_of(kStoreIds[done], records);
        error = lines.empty() ? 0 : journal.append_lines(lines);
    }
    for (; error != 0 && done > 0; --done) {
        (void)journal_of(kStoreIds[done - 1]).cut_back(sizes[done - 1]);
    }
    return error;
}

/*
 * Empties the batch file, if that has failed before. Until then no change is made: the next start would
 * repeat the batch after it. What the journals have of a batch that failed must go first.
 */
int Database::settle_batch() {
    if (batch_.empty()) {
        return 0;
    }
    for (const StoreId id : kStoreIds) {
        const int error = journal_of(id).drop_tail();
        if (error != 0) {
            return error;
        }
    }
    return batch_.clear();
}

int Database::append_batch(const std::vector<JournalRecord> &records) {
    int error = batch_.write(records);
    if (error != 0) {
        return error;
    }
    error = append_to_journals(records);
    (void)settle_batch(); /* repeated before the next change */
    return error;
}

/* Also in memory, so that gets are right even if the journals can't be written yet. */
int Database::recover_batch(const std::vector<JournalRecord> &records) {
    for (const JournalRecord &record : records) {
        const int error = open_own_journal(record.store);
        if (error != 0) {
            return error;
        }
    }
    for (const JournalRecord &record : records) {
        repeat(record);
    }
    return append_to_journals(records);
}

apps_err_e_type Database::change_all(const std::vector<JournalRecord> &records) {
    if (records.empty()) {
        return E_APPS_ERR_SUCCESS;
    }
    if (records.size() == 1) {
        return change(records[0]);
    }
    const int error = with_room([&] {
        const int unsettled = settle_batch();
        return unsettled != 0 ? unsettled : append_batch(records);
    });
    if (error != 0) {
        return result_of_errno(error);
    }
    for (const JournalRecord &record : records) {
        note_change(record);
    }
    show(records.data(), records.size());
    for (const StoreId id : kStoreIds) {
        shorten_if_overgrown(id);
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::open_journals_of_all(ZndbItemSpan items) {
    for (const ZndbItem &item : items) {
        const apps_err_e_type result = open_journal(item.store);
        if (result != E_APPS_ERR_SUCCESS) {
            return result;
        }
    }
    return E_APPS_ERR_SUCCESS;
}

/* Returns the first expectation that does not hold, or kNoItem. */
uint32_t Database::conflict_of(ZndbItemSpan items) const {
    return find_item(items, [this](const ZndbItem &item) {
        return is_expectation(item) && !holds(item, store(item.store).find(item.key));
    });
}

apps_err_e_type Database::check_batch(ZndbItemSpan items, BatchAnswer &answer,
                                      std::vector<JournalRecord> &changes) {
    answer = {E_ZNDB_RET_FAILURE, find_item(items, has_bad_text)};
    const apps_err_e_type result = answer.item != kNoItem ? E_APPS_ERR_ZNDB_ARG : open_journals_of_all(items);
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    const uint32_t conflict = conflict_of(items);
    if (conflict != kNoItem) {
        OS_LOG(OS_LOG_VERBOSE, "'%s' is not as a batch expects", std::string(items[conflict].key).c_str());
        answer = {E_ZNDB_RET_CONFLICT, conflict};
        return E_APPS_ERR_ZNDB_AVL;
    }
    changes = changes_of(items);
    return check_room(changes);
}

apps_err_e_type Database::apply_batch(ZndbItemSpan items, BatchAnswer &answer) {
    const Lock lock(mutex_);
    std::vector<JournalRecord> changes;
    const apps_err_e_type result = check_batch(items, answer, changes);
    return result == E_APPS_ERR_SUCCESS ? change_all_in_share(changes, answer) : result;
}
