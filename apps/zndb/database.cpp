#include "database.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "database_steps.h"
#include "formats/device_paths.h"
#include "formats/entry_line.h"
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
            add({id, Change::kSet, key, *value});
        } else {
            add({id, Change::kErase, key, {}});
        }
    }
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
      held_{{paths::kPlainFile}, {paths::kPermFile}, {paths::kFactoryFile}},
      journal_(paths::kJournalFile),
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
    (void)open_journal(); /* or at the first request */
    drop_leftover(paths::kJournalFile);
}

void Database::observe(ChangeObserver &observer) {
    const Lock lock(mutex_);
    observer.began({store(StoreId::kPlain), store(StoreId::kPerm), store(StoreId::kFactory), defaults_});
    observer_ = &observer;
}

void Database::load_one(Held &held) {
    drop_leftover(held.path);
    const LoadedFile loaded = load_store(held.path, held.store);
    held.file = loaded.lines == Lines::kSomeSkipped ? FileState::kDamaged : FileState::kSound;
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
    (void)open_journal(); /* after a failure, answer from the files only */
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
 * Every request retries this, so that a journal that was unreadable at the start is used as soon as it can be
 * read. It is replayed completely or not at all, and changes are refused until then, so replaying it late has
 * the same result as replaying it at the start.
 */
apps_err_e_type Database::open_journal() {
    int error = journal_.open([this](const JournalRecord &record) { repeat(record); });
    if (error == 0) {
        error = batch_.recover([this](const auto &records) { return recover_batch(records); });
    }
    return result_of_errno(error);
}

void Database::apply(const JournalRecord &record) {
    Store &changed = store(record.store);
    switch (record.change) {
        case Change::kSet:
            changed.set(record.key, record.value);
            break;
        case Change::kErase:
            changed.erase(record.key);
            ++deletes_;
            break;
        case Change::kClear:
            changed.clear();
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

void Database::list_pending(const Journal::Replay &add) const {
    for (const StoreId id : kStoreIds) {
        list_pending_of(id, store(id), add);
    }
}

uint64_t Database::pending_size() const {
    uint64_t size = 0;
    list_pending([&size](const JournalRecord &record) { size += record_size(record); });
    return size;
}

int Database::shorten_journal() {
    deletes_ = 0;
    return journal_.rewrite([this](const Journal::Replay &add) { list_pending(add); }, pending_size());
}

/* If little of the journal is outdated, a rewrite would only use space. */
void Database::shorten_overgrown_journal() {
    if (deletes_ <= kStoreKeysMax && journal_.size() - pending_size() < journal_.size() / kOutdatedPart) {
        journal_.postpone();
        return;
    }
    (void)shorten_journal();
}

void Database::note_change(const JournalRecord &record) {
    apply(record);
    OS_LOG(OS_LOG_VERBOSE, "'%s' changed", std::string(record.key).c_str());
}

void Database::shorten_if_overgrown() {
    if (journal_.overgrown() || deletes_ > kStoreKeysMax) {
        shorten_overgrown_journal();
    }
}

apps_err_e_type Database::change(const JournalRecord &record) {
    int error = settle_batch();
    if (error == 0) {
        error = journal_of(record.store).append(record);
    }
    if (error != 0) {
        return result_of_errno(error);
    }
    note_change(record);
    show(&record, 1);
    shorten_if_overgrown();
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::change_key(const JournalRecord &record) {
    if (!store(record.store).has_room_for_change_of(record.key)) {
        OS_LOG(OS_LOG_WARNING, "'%s' refused: too many keys have changed since the last save",
               std::string(record.key).c_str());
        return E_APPS_ERR_ZNDB_MEM;
    }
    return change(record);
}

apps_err_e_type Database::set(StoreId id, std::string_view key, std::string_view value) {
    const Lock lock(mutex_);
    apps_err_e_type result = check_texts(key, value);
    if (result == E_APPS_ERR_SUCCESS) {
        result = open_journal();
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
    apps_err_e_type result = open_journal();
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
    apps_err_e_type result = open_journal();
    if (result == E_APPS_ERR_SUCCESS) {
        result = check_resettable(held_[static_cast<size_t>(StoreId::kPlain)]);
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

apps_err_e_type Database::save_one(StoreId id) {
    Held &held = held_[static_cast<size_t>(id)];
    if (!held.changed()) {
        return E_APPS_ERR_SUCCESS;
    }
    const apps_err_e_type refused = check_replaceable(held.path, held.store);
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    const bool damaged = held.file == FileState::kDamaged;
    const SavedFile saved = save_store(held.path, held.store, held.folders, held.old_file());
    if (saved.error != 0) {
        held.folders = Folders::kPerhapsNew;
        held.file = damaged && saved.in_place ? FileState::kPerhapsNotOnDisk : held.file;
        held.store.assume_all_in_file();
        return result_of_errno(saved.error);
    }
    held.folders = Folders::kOnDisk;
    held.file = FileState::kSound;
    held.store.mark_saved();
    if (id == StoreId::kPlain) {
        until_reboot_.note_saved(held.store);
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Database::save(SaveResults *each) {
    const Lock lock(mutex_);
    const apps_err_e_type opened = open_journal();
    if (opened != E_APPS_ERR_SUCCESS) {
        return opened;
    }
    look_for_file(held_[static_cast<size_t>(StoreId::kPlain)]);
    look_for_file(held_[static_cast<size_t>(StoreId::kPerm)]);
    const bool perm_alone = changed(StoreId::kPerm) && !changed(StoreId::kPlain);
    const SaveResults results = {save_one(StoreId::kPlain), save_one(StoreId::kPerm)};
    (void)
        shorten_journal(); /* after a failure, replaying records that the files already contain is harmless */
    if (each != nullptr) {
        *each = results;
    }
    return perm_alone ? results.perm : results.plain;
}

apps_err_e_type Database::save_factory() {
    const Lock lock(mutex_);
    const apps_err_e_type opened = open_journal();
    if (opened != E_APPS_ERR_SUCCESS) {
        return opened;
    }
    const apps_err_e_type result = save_one(StoreId::kFactory);
    (void)shorten_journal();
    return result;
}

apps_err_e_type Database::save_before_power_off() {
    const Lock lock(mutex_);
    apps_err_e_type first_failure = open_journal();
    if (first_failure != E_APPS_ERR_SUCCESS) {
        return first_failure;
    }
    until_reboot_.take_out(store(StoreId::kPlain));
    for (const StoreId id : kStoreIds) {
        const apps_err_e_type result = save_one(id);
        first_failure = first_failure != E_APPS_ERR_SUCCESS ? first_failure : result;
    }
    until_reboot_.put_back(store(StoreId::kPlain));
    (void)shorten_journal();
    return first_failure;
}

apps_err_e_type Database::save_ram() {
    const Lock lock(mutex_);
    const apps_err_e_type opened = open_journal();
    return opened == E_APPS_ERR_SUCCESS ? result_of_errno(shorten_journal()) : opened;
}
