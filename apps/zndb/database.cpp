#include "database.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "database_steps.h"
#include "formats/device_paths.h"
#include "formats/entry_line.h"
#include "old_journal.h"
#include "os_log.h"
#include "store_file.h"
#include "successor_file.h"

namespace {

using Change = JournalRecord::Change;

/* The journal is rewritten only if at least one part in this many is outdated. */
constexpr uint64_t kOutdatedPart = 8;

apps_err_e_type report_missing(std::string_view key) {
    OS_LOG(OS_LOG_VERBOSE, "'%s' is missing", std::string(key).c_str());
    return E_APPS_ERR_ZNDB_NO_FOUND;
}

/* Ends the process without memory: a database without its lock would lose data silently. */
os_mutex *make_mutex() {
    os_mutex *mutex = os_mutex_create();
    if (mutex == nullptr) {
        OS_LOG(OS_LOG_WARNING, "no memory for the lock of the database, ending");
        std::exit(EXIT_FAILURE);  // NOLINT(concurrency-mt-unsafe): no handler runs yet
    }
    return mutex;
}

/* Lists the changes between a store's file and its present values. */
void list_pending_of(StoreId id, const Store &store, const Journal::Replay &add) {
    if (store.basis() == Basis::kNothing) {
        add({id, Change::kClear, {}, {}});
    }
    for (const auto &change : store.changes()) {
        const std::string &key = change.first;
        if (const std::string *value = store.find(key)) {
            add(set_record(id, key, *value));
        } else {
            add({id, Change::kErase, key, {}});
        }
    }
}

/* The total size of the records of these changes. */
uint64_t pending_size(StoreId id, const Store &store) {
    uint64_t size = 0;
    list_pending_of(id, store, [&size](const JournalRecord &record) { size += record_size(record); });
    return size;
}

/* Checks that the store has everything of its file, and that the next start can read the new file. */
apps_err_e_type check_replaceable(const char *path, const Store &store) {
    switch (store.savable()) {
        case Savable::kNotWhole:
            OS_LOG(OS_LOG_WARNING, "%s could not be read and is not replaced", path);
            return E_APPS_ERR_ZNDB_OTHER;
        case Savable::kOverfull:
            OS_LOG(OS_LOG_WARNING, "%s is not replaced: its store has %zu keys, and a file may have %zu",
                   path, store.values().size(), kStoreKeysMax);
            return E_APPS_ERR_ZNDB_MEM;
        case Savable::kYes:
            break;
    }
    return E_APPS_ERR_SUCCESS;
}

void drop_leftover(const char *path) {
    if (remove_leftover(path)) {
        OS_LOG(OS_LOG_NOTICE, "removed the incomplete temporary file of %s", path);
    }
}

}  // namespace

apps_err_e_type result_of_errno(int error) {
    switch (error) {
        case 0:
            return E_APPS_ERR_SUCCESS;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return E_APPS_ERR_NOSPACE;
        case EROFS:
        case EACCES:
        case EPERM:
            return E_APPS_ERR_ZNDB_READ_ONLY;
        case ENOMEM:
            return E_APPS_ERR_ZNDB_MEM;
        default:
            return E_APPS_ERR_ZNDB_OTHER;
    }
}

Database::Database()
    : mutex_(make_mutex()),
      held_{Held(StoreId::kPlain), Held(StoreId::kPerm), Held(StoreId::kFactory)},
      batch_(paths::kBatchFile) {}

Database::~Database() {
    os_mutex_close(mutex_);
}

void Database::load() {
    const Lock lock(mutex_);
    (void)load_store(paths::kDefaultsFile, defaults_);
    for (Held &held : held_) {
        load_one(held);
    }
    until_reboot_.note_saved(store(StoreId::kPlain));
    for (const Held &held : held_) {
        (void)open_journal(held.id); /* or at the first request */
        drop_leftover(paths_of(held.id).journal);
    }
    drop_leftover(paths::kOldJournal);
}

void Database::observe(ChangeObserver &observer) {
    const Lock lock(mutex_);
    observer.began({store(StoreId::kPlain), store(StoreId::kPerm), store(StoreId::kFactory), defaults_});
    observer_ = &observer;
}

Database::FileState Database::state_of(const LoadedStore &loaded) {
    if (loaded.is_file_damaged && !loaded.set_aside.empty()) {
        return FileState::kSetAside;
    }
    return loaded.is_file_damaged || loaded.lines == Lines::kSomeSkipped ? FileState::kDamaged
                                                                         : FileState::kSound;
}

void Database::limit(Shares shares) {
    const Lock lock(mutex_);
    shares_ = std::move(shares);
}

void Database::retry_observer() {
    const Lock lock(mutex_);
    if (observer_ != nullptr) {
        observer_->retry();
    }
}

void Database::load_one(Held &held) {
    drop_leftover(held.path);
    const LoadedStore loaded = load_newest(held.path, held.store);
    held.file = state_of(loaded);
    held.generation = loaded.generation;
    if (!loaded.set_aside.empty()) {
        set_aside_.push_back(loaded.set_aside);
    }
    if (loaded.error != 0) {
        held.store.mark_partly_read();
        OS_LOG(OS_LOG_WARNING, "%s unreadable: loaded %zu keys, will not be overwritten", held.path,
               held.store.values().size());
    }
}

const std::string *Database::find(StoreId id, std::string_view key) const {
    const std::string *value = store(id).find(key);
    if (value != nullptr || id == StoreId::kPerm) {
        return value;
    }
    value = store(StoreId::kFactory).find(key);
    return value != nullptr ? value : defaults_.find(key);
}

apps_err_e_type Database::get(StoreId id, std::string_view key, char *buffer, uint32_t size) {
    const Lock lock(mutex_);
    open_journals_of(id);
    const std::string *value = find(id, key);
    if (value == nullptr) {
        return report_missing(key);
    }
    if (value->size() >= size) {
        OS_LOG(OS_LOG_WARNING, "'%s' refused: %zu characters don't fit %u bytes", std::string(key).c_str(),
               value->size(), size);
        return E_APPS_ERR_OUTOFBUF;
    }
    std::memcpy(buffer, value->c_str(), value->size() + 1);
    OS_LOG(OS_LOG_VERBOSE, "'%s' read", std::string(key).c_str());
    return E_APPS_ERR_SUCCESS;
}

/*
 * Every request about the store retries this, so that a journal that was unreadable at the start is used as
 * soon as it can be read. It is replayed completely or not at all, and changes of the store are refused until
 * then, so replaying it late has the same result as replaying it at the start.
 */
int Database::open_own_journal(StoreId id) {
    if (!old_journal_gone_) {
        const int error = take_over_old_journal();
        if (error != 0) {
            return error;
        }
        old_journal_gone_ = true;
    }
    return held(id).journal.open([this](const JournalRecord &record) { repeat(record); });
}

apps_err_e_type Database::open_journal(StoreId id) {
    int error = open_own_journal(id);
    if (error == 0) {
        error = batch_.recover([this](const auto &records) { return recover_batch(records); });
    }
    return result_of_errno(error);
}

/* Opens the journals of all stores in which a get looks. After a failure it is answered from the file only.
 */
void Database::open_journals_of(StoreId id) {
    (void)open_journal(id);
    if (id == StoreId::kPlain) {
        (void)open_journal(StoreId::kFactory);
    }
}

void Database::apply(const JournalRecord &record) {
    Held &changed = held(record.store);
    switch (record.change) {
        case Change::kSet:
            changed.store.set(record.key, value_of(record));
            break;
        case Change::kErase:
            changed.store.erase(record.key);
            ++changed.deletes;
            break;
        case Change::kClear:
            changed.store.clear();
            break;
    }
}

void Database::show(const JournalRecord *changes, size_t count) {
    if (observer_ != nullptr) {
        observer_->changed({changes, count});
    }
}

/*
 * Earlier saves may have added the key to the file and removed it again without syncing either file. A power
 * cut could then bring back either file, so the file may still contain the key, whatever was read.
 */
void Database::repeat(const JournalRecord &record) {
    apply(record);
    store(record.store).assume_in_file(record.key);
    show(&record, 1);
}

bool Database::file_may_differ(StoreId id, std::string_view key) const {
    return store(id).basis() == Basis::kPartOfFile && key_problem(key) == nullptr &&
           store(id).changes().count(key) == 0;
}

int Database::shorten_journal(Held &held) {
    held.deletes = 0;
    return held.journal.rewrite(
        [&held](const Journal::Replay &add) { list_pending_of(held.id, held.store, add); },
        pending_size(held.id, held.store));
}

/* If little of the journal is outdated, a rewrite would only use space. */
void Database::shorten_overgrown_journal(Held &held) {
    const uint64_t size = held.journal.size();
    if (held.deletes <= kStoreKeysMax && size - pending_size(held.id, held.store) < size / kOutdatedPart) {
        held.journal.postpone();
        return;
    }
    (void)shorten_journal(held);
}

void Database::note_change(const JournalRecord &record) {
    apply(record);
    OS_LOG(OS_LOG_VERBOSE, "'%s' changed", std::string(record.key).c_str());
}

void Database::shorten_if_overgrown(StoreId id) {
    Held &changed = held(id);
    if (changed.journal.overgrown() || changed.deletes > kStoreKeysMax) {
        shorten_overgrown_journal(changed);
    }
}

apps_err_e_type Database::change(const JournalRecord &record) {
    int error = settle_batch();
    if (error == 0) {
        error = with_room([&] { return journal_of(record.store).append(record); });
    }
    if (error != 0) {
        return result_of_errno(error);
    }
    note_change(record);
    show(&record, 1);
    shorten_if_overgrown(record.store);
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::change_key(const JournalRecord &record) {
    if (!store(record.store).has_room_for_change_of(record.key)) {
        OS_LOG(OS_LOG_WARNING, "'%s' refused: too many keys have changed since the last save",
               std::string(record.key).c_str());
        return E_APPS_ERR_ZNDB_MEM;
    }
    Store &changed = store(record.store);
    if (changed.changes().count(record.key) != 0) {
        return change(record);
    }

    const SentBy by = shares_.sender();
    if (!shares_.allows(record.store, changed, by, 1)) {
        return E_APPS_ERR_ZNDB_MEM;
    }
    const apps_err_e_type result = change(record);
    if (result == E_APPS_ERR_SUCCESS) {
        changed.charge(record.key, by.sender);
    }
    return result;
}

apps_err_e_type Database::set(StoreId id, std::string_view key, std::string_view value) {
    const Lock lock(mutex_);
    apps_err_e_type result = check_texts(key, value);
    if (result == E_APPS_ERR_SUCCESS) {
        result = open_journal(id);
    }
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    if (!store(id).has_room_for(key)) {
        OS_LOG(OS_LOG_WARNING, "'%s' refused: the store is full", std::string(key).c_str());
        return E_APPS_ERR_ZNDB_MEM;
    }

    const std::string *present = store(id).find(key);
    if (present != nullptr && *present == value && !file_may_differ(id, key)) {
        return E_APPS_ERR_SUCCESS;
    }
    return change_key({id, Change::kSet, key, value});
}

apps_err_e_type Database::erase(StoreId id, std::string_view key) {
    const Lock lock(mutex_);
    apps_err_e_type result = open_journal(id);
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    const bool is_missing = store(id).find(key) == nullptr;
    if (!is_missing || file_may_differ(id, key)) {
        result = change_key({id, Change::kErase, key, {}});
    }
    return is_missing && result == E_APPS_ERR_SUCCESS ? report_missing(key) : result;
}

/* A reset that can't be saved would empty the settings of the running device, and nothing else. */
apps_err_e_type Database::check_resettable(const Held &held) {
    const int error = rehearse_emptying(held.path, held.store, held.folders, held.old_file());
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(
            ("reset refused, since it could not be saved: can't replace " + std::string(held.path)).c_str());
    }
    return result_of_errno(error);
}

apps_err_e_type Database::reset() {
    const Lock lock(mutex_);
    apps_err_e_type result = open_journal(StoreId::kPlain);
    if (result == E_APPS_ERR_SUCCESS) {
        result = check_resettable(held(StoreId::kPlain));
    }
    return result == E_APPS_ERR_SUCCESS ? change({StoreId::kPlain, Change::kClear, {}, {}}) : result;
}

void Database::look_for_file(Held &held) {
    const bool is_expected = held.file == FileState::kSound && held.store.basis() == Basis::kFile &&
                             !held.store.changed() && !held.store.values().empty();
    if (is_expected && ::access(held.path, F_OK) != 0 && errno == ENOENT) {
        OS_LOG(OS_LOG_WARNING, "%s was removed by somebody, it is written again", held.path);
        held.file = FileState::kPerhapsNotOnDisk;
    }
}

apps_err_e_type Database::replace_file(Held &held) {
    const bool damaged = held.file == FileState::kDamaged || held.file == FileState::kSetAside;
    const SavedFile saved =
        save_store(held.path, held.store, held.folders, held.old_file(), held.generation + 1);
    held.generation += saved.in_place ? 1 : 0;
    if (saved.error != 0) {
        held.folders = Folders::kPerhapsNew;
        held.file = damaged && saved.in_place ? FileState::kPerhapsNotOnDisk : held.file;
        held.store.assume_all_in_file();
        return result_of_errno(saved.error);
    }
    held.folders = Folders::kOnDisk;
    held.file = FileState::kSound;
    held.store.mark_saved();
    if (held.id == StoreId::kPlain) {
        until_reboot_.note_saved(held.store);
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::save_one(StoreId id, apps_err_e_type opened) {
    Held &saved = held(id);
    if (opened != E_APPS_ERR_SUCCESS || !saved.changed()) {
        return opened;
    }
    const apps_err_e_type refused = check_replaceable(saved.path, saved.store);
    return refused == E_APPS_ERR_SUCCESS ? replace_file(saved) : refused;
}

/* Removes what the files now contain. After a failure, replaying such records is harmless. */
void Database::shorten_journals(std::initializer_list<StoreId> ids) {
    for (const StoreId id : ids) {
        if (held(id).journal.is_open()) {
            (void)shorten_journal(held(id));
        }
    }
}

apps_err_e_type Database::save(SaveResults *each) {
    const Lock lock(mutex_);
    const apps_err_e_type plain_opened = open_journal(StoreId::kPlain);
    const apps_err_e_type perm_opened = open_journal(StoreId::kPerm);
    look_for_file(held(StoreId::kPlain));
    look_for_file(held(StoreId::kPerm));
    const bool nothing_of_plain = plain_opened == E_APPS_ERR_SUCCESS && !changed(StoreId::kPlain);
    const SaveResults results = {save_one(StoreId::kPlain, plain_opened),
                                 save_one(StoreId::kPerm, perm_opened)};
    shorten_journals({StoreId::kPlain, StoreId::kPerm});
    if (each != nullptr) {
        *each = results;
    }
    return nothing_of_plain ? results.perm : results.plain;
}

apps_err_e_type Database::save_factory() {
    const Lock lock(mutex_);
    const apps_err_e_type result = save_one(StoreId::kFactory, open_journal(StoreId::kFactory));
    shorten_journals({StoreId::kFactory});
    return result;
}

apps_err_e_type Database::save_before_power_off(apps_err_e_type *each) {
    const Lock lock(mutex_);
    const apps_err_e_type opened[] = {open_journal(StoreId::kPlain), open_journal(StoreId::kPerm),
                                      open_journal(StoreId::kFactory)};
    until_reboot_.take_out(store(StoreId::kPlain));
    apps_err_e_type first_failure = E_APPS_ERR_SUCCESS;
    for (const StoreId id : kStoreIds) {
        const apps_err_e_type result = save_one(id, opened[static_cast<size_t>(id)]);
        first_failure = first_failure != E_APPS_ERR_SUCCESS ? first_failure : result;
        if (each != nullptr) {
            each[static_cast<size_t>(id)] = result;
        }
    }
    until_reboot_.put_back(store(StoreId::kPlain));
    shorten_journals({StoreId::kPlain, StoreId::kPerm, StoreId::kFactory});
    return first_failure;
}

apps_err_e_type Database::save_ram() {
    const Lock lock(mutex_);
    apps_err_e_type first_failure = E_APPS_ERR_SUCCESS;
    for (const StoreId id : kStoreIds) {
        apps_err_e_type result = open_journal(id);
        if (result == E_APPS_ERR_SUCCESS) {
            result = result_of_errno(shorten_journal(held(id)));
        }
        first_failure = first_failure != E_APPS_ERR_SUCCESS ? first_failure : result;
    }
    return first_failure;
}
