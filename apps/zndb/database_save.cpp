/*
 * Saves, and the reset, which must be able to be saved.
 *
 * Whoever writes a store's file holds saving_ all the while, and mutex_ only to take a snapshot of the store
 * and, when the file is there, to forget the changes that it has: gets and sets are answered while a disk is
 * slow. Until then nothing is taken from the journal, so that a kill or a failure at any moment leaves every
 * change in the journal, in the order in which the changes were made. What has changed since the snapshot
 * stays unsaved.
 */
#include <unistd.h>

#include <cerrno>
#include <string>

#include "database.h"
#include "database_steps.h"
#include "os_log.h"

namespace {

using Change = JournalRecord::Change;

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

apps_err_e_type report_unresettable(const char *path, int error) {
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(
            ("reset refused, since it could not be saved: can't replace " + std::string(path)).c_str());
    }
    return result_of_errno(error);
}

}  // namespace

void Database::look_for_file(Held &held) {
    const bool is_expected = held.file == FileState::kSound && held.store.basis() == Basis::kFile &&
                             !held.store.changed() && !held.store.values().empty();
    if (is_expected && ::access(held.path, F_OK) != 0 && errno == ENOENT) {
        OS_LOG(OS_LOG_WARNING, "%s was removed by somebody, it is written again", held.path);
        held.file = FileState::kPerhapsNotOnDisk;
    }
}

Database::Snapshot Database::snapshot_of(const Held &held) {
    return {E_APPS_ERR_SUCCESS, true, text_of_store(held.store, held.generation + 1), held.folders,
            held.old_file()};
}

Database::Snapshot Database::begin_save(StoreId id, apps_err_e_type opened) {
    Held &saved = held(id);
    if (opened != E_APPS_ERR_SUCCESS || !saved.changed()) {
        return Snapshot{opened};
    }
    const apps_err_e_type refused = check_replaceable(saved.path, saved.store);
    if (refused != E_APPS_ERR_SUCCESS) {
        return Snapshot{refused};
    }
    if (id == StoreId::kPlain) {
        until_reboot_.note_written(saved.store);
    }
    Snapshot taken = snapshot_of(saved);
    saved.store.begin_save();
    return taken;
}

void Database::note_saved(Held &held) {
    held.folders = Folders::kOnDisk;
    held.file = FileState::kSound;
    held.store.mark_saved();
    if (held.id == StoreId::kPlain) {
        until_reboot_.note_saved();
    }
}

void Database::note_unsaved(Held &held, bool in_place) {
    const bool damaged = held.file == FileState::kDamaged || held.file == FileState::kSetAside;
    held.folders = Folders::kPerhapsNew;
    held.file = damaged && in_place ? FileState::kPerhapsNotOnDisk : held.file;
    held.store.mark_unsaved();
}

apps_err_e_type Database::end_save(StoreId id, const SavedFile &saved) {
    Held &written = held(id);
    written.generation += saved.in_place ? 1 : 0;
    if (saved.error != 0) {
        note_unsaved(written, saved.in_place);
    } else {
        note_saved(written);
    }
    return result_of_errno(saved.error);
}

/* Removes from the journal what the file now has. After a failure, replaying such records is harmless. */
void Database::shorten_after_save(Held &held) {
    if (held.journal.is_open()) {
        (void)shorten_journal(held);
    }
}

apps_err_e_type Database::finish_save(StoreId id, Snapshot &taken) {
    SavedFile saved = {0, false};
    if (taken.is_new) {
        saved = save_store(held(id).path, taken.text, taken.folders, taken.old_file);
        taken.text = std::string(); /* its memory is free for the next store */
    }
    const Lock lock(mutex_);
    const apps_err_e_type result = taken.is_new ? end_save(id, saved) : taken.result;
    shorten_after_save(held(id));
    return result;
}

Database::Snapshots Database::begin_requested_save(bool &nothing_of_plain) {
    const Lock lock(mutex_);
    const apps_err_e_type plain_opened = open_journal(StoreId::kPlain);
    const apps_err_e_type perm_opened = open_journal(StoreId::kPerm);
    look_for_file(held(StoreId::kPlain));
    look_for_file(held(StoreId::kPerm));
    nothing_of_plain = plain_opened == E_APPS_ERR_SUCCESS && !changed(StoreId::kPlain);
    return {begin_save(StoreId::kPlain, plain_opened), begin_save(StoreId::kPerm, perm_opened), {}};
}

apps_err_e_type Database::save(SaveResults *each) {
    const Lock one_at_a_time(saving_);
    bool nothing_of_plain = false;
    Snapshots taken = begin_requested_save(nothing_of_plain);
    const SaveResults results = {finish_save(StoreId::kPlain, of(taken, StoreId::kPlain)),
                                 finish_save(StoreId::kPerm, of(taken, StoreId::kPerm))};
    if (each != nullptr) {
        *each = results;
    }
    return nothing_of_plain ? results.perm : results.plain;
}

Database::Snapshot Database::begin_factory_save() {
    const Lock lock(mutex_);
    return begin_save(StoreId::kFactory, open_journal(StoreId::kFactory));
}

apps_err_e_type Database::save_factory() {
    const Lock one_at_a_time(saving_);
    Snapshot taken = begin_factory_save();
    return finish_save(StoreId::kFactory, taken);
}

/* The settings that last until the reboot are put back after the snapshot, so that they stay unsaved. */
Database::Snapshots Database::begin_last_save() {
    const Lock lock(mutex_);
    const apps_err_e_type opened[] = {open_journal(StoreId::kPlain), open_journal(StoreId::kPerm),
                                      open_journal(StoreId::kFactory)};
    until_reboot_.take_out(store(StoreId::kPlain));
    Snapshots taken = {};
    for (const StoreId id : kStoreIds) {
        taken[static_cast<size_t>(id)] = begin_save(id, opened[static_cast<size_t>(id)]);
    }
    until_reboot_.put_back(store(StoreId::kPlain));
    return taken;
}

apps_err_e_type Database::save_before_power_off(apps_err_e_type *each) {
    const Lock one_at_a_time(saving_);
    Snapshots taken = begin_last_save();
    apps_err_e_type first_failure = E_APPS_ERR_SUCCESS;
    for (const StoreId id : kStoreIds) {
        const apps_err_e_type result = finish_save(id, of(taken, id));
        first_failure = first_failure != E_APPS_ERR_SUCCESS ? first_failure : result;
        if (each != nullptr) {
            each[static_cast<size_t>(id)] = result;
        }
    }
    return first_failure;
}

Database::Snapshot Database::begin_reset() {
    const Lock lock(mutex_);
    const apps_err_e_type opened = open_journal(StoreId::kPlain);
    return opened == E_APPS_ERR_SUCCESS ? snapshot_of(held(StoreId::kPlain)) : Snapshot{opened};
}

/* A reset that can't be saved would empty the settings of the running device, and nothing else. */
apps_err_e_type Database::reset() {
    const Lock one_at_a_time(saving_);
    const Snapshot taken = begin_reset();
    if (!taken.is_new) {
        return taken.result;
    }
    const char *path = held(StoreId::kPlain).path;
    const apps_err_e_type refused =
        report_unresettable(path, rehearse_emptying(path, taken.text, taken.folders, taken.old_file));
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    const Lock lock(mutex_);
    return change({StoreId::kPlain, Change::kClear, {}, {}});
}
