/*
 * The database: its stores, their files and journals. Does not handle messages.
 *
 * Every function may be called from any thread. Results are those that a client receives. Every refusal is
 * logged; values are never logged.
 */
#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "apps_err.h"
#include "batch_file.h"
#include "change_observer.h"
#include "formats/journal_record.h"
#include "formats/store_values.h"
#include "formats/way_back_text.h"
#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"
#include "formats/zndb_wire.h"
#include "journal.h"
#include "os_thread.h"
#include "shares.h"
#include "store.h"
#include "store_recovery.h"
#include "until_reboot.h"

class Database {
  public:
    Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    ~Database();

    /* Reads the files and the journals. Must be the first call; call it once. */
    void load();

    /* Shows the present content, and each change from now on, to an observer. It must outlive the database.
     */
    void observe(ChangeObserver &observer);

    /* The damaged files that load has set aside, by their new names. */
    const std::vector<std::string> &set_aside() const { return set_aside_; }

    /* Limits how many changed keys each sender may have, from now on. Restored changes are nobody's. */
    void limit(Shares shares);

    /* Lets the observer repeat what has failed. */
    void retry_observer();

    /*
     * Reads a value. kPlain falls back to kFactory, and that to the defaults; kPerm has no fallback.
     *
     * buffer, size: receives the NUL-terminated text; unchanged on failure.
     * Returns 0, E_APPS_ERR_ZNDB_NO_FOUND, or E_APPS_ERR_OUTOFBUF.
     */
    apps_err_e_type get(StoreId id, std::string_view key, char *buffer, uint32_t size);

    /*
     * Sets a value in a store. Returns 0 when the change is in the journal. Otherwise nothing has changed:
     * E_APPS_ERR_ZNDB_ARG for a text that a line can't contain, E_APPS_ERR_ZNDB_MEM if the store is full,
     * too many keys have changed, or the sender has used up its share, or the value of result_of_errno.
     */
    apps_err_e_type set(StoreId id, std::string_view key, std::string_view value);

    /*
     * Deletes a key of this store. Returns E_APPS_ERR_ZNDB_NO_FOUND if the key is missing; if the store's
     * file is unreadable, the delete is recorded nevertheless. Otherwise as set.
     */
    apps_err_e_type erase(StoreId id, std::string_view key);

    /*
     * Carries out a batch: all of its changes or none, also if the process is killed.
     *
     * Returns 0; E_APPS_ERR_ZNDB_AVL if an expectation does not hold; otherwise as set.
     * answer: receives the verdict, and the item that decided it.
     */
    apps_err_e_type apply_batch(ZndbItemSpan items, BatchAnswer &answer);
    apps_err_e_type apply_batch(const ZndbBatchItems &items, BatchAnswer &answer) {
        return apply_batch(items.span(), answer);
    }

    /*
     * The same, but changes nothing.
     * changes: receives what the batch would change, with the values that are there now.
     */
    apps_err_e_type preview_batch(ZndbItemSpan items, BatchAnswer &answer, std::vector<KeyChange> &changes);

    /* Copies the values of a store. Returns 0, or the result of opening its journal. */
    apps_err_e_type copy_values(StoreId id, StoreValues &values);

    /* Makes the changes that lead back, as one batch; as set, without a check of the room. */
    apps_err_e_type put_back(const WayBack &way_back);

    /*
     * Makes all stores what their files are, as one batch. dropped: receives the number of keys that
     * differed. Returns 0, the value of result_of_errno, or E_APPS_ERR_ZNDB_OTHER if a file is unreadable or
     * gone; then nothing has changed.
     */
    apps_err_e_type undo_unsaved(uint32_t &dropped);

    /*
     * Adds the keys of a list to a page, in the order of their bytes, until it is full. Returns 0.
     */
    apps_err_e_type list(const ListRequest &request, ListPage &page);

    /*
     * Empties the plain store; as set. Refused, with the value of result_of_errno, if the store's file can't
     * be replaced: after the next start the file's values would be back. All that the save after it would do
     * is tried first. A damaged file needs a place beside the new one, and room for the settings.
     */
    apps_err_e_type reset();

    /*
     * Writes the plain and the perm file if they have changed, or somebody has removed them: a backup would
     * then be one without settings. A failure of one doesn't stop the other, be it of its file or journal.
     * While a disk is slow, other calls than saves and resets go on; what they change stays unsaved.
     *
     * Returns the plain store's result, or the perm store's if nothing of the plain store was to be saved. A
     * result is 0, E_APPS_ERR_ZNDB_OTHER for an unreadable file, E_APPS_ERR_ZNDB_MEM for a store with more
     * keys than a file may have, or the value of result_of_errno. Logs each failure. each: receives both
     * results; may be null.
     */
    apps_err_e_type save(SaveResults *each = nullptr);

    /* Writes the file of the factory overlay if it has changed; as save. */
    apps_err_e_type save_factory();

    /* Writes the journals in their shortest form. Tries all; returns the first failure. */
    apps_err_e_type save_ram();

    /*
     * Writes every file whose store has changed, before a reboot or power-off. Does not save settings that
     * last until the reboot. Tries all files; returns the first failure. each: receives the result of each
     * store, in the order of StoreId; may be null.
     */
    apps_err_e_type save_before_power_off(apps_err_e_type *each = nullptr);

  private:
    enum class FileState {
        kSound,
        kDamaged,         /* lines of it were skipped, or it could not be set aside */
        kSetAside,        /* it is damaged, and has a second name */
        kPerhapsNotOnDisk /* somebody removed it; or a power cut may bring back the damaged one before it */
    };

    /* A store with its file and its journal. */
    struct Held {
        explicit Held(StoreId store_id)
            : id(store_id), path(paths_of(store_id).file), journal(paths_of(store_id).journal, store_id) {}

        const StoreId id;
        const char *const path;
        Store store = {};
        Journal journal;
        size_t deletes = 0; /* since the journal was last rewritten; a start would replay all of them */
        Folders folders = Folders::kPerhapsNew;
        FileState file = FileState::kSound;
        uint64_t generation = 0; /* of the file */

        /* Whether a save has something to write. */
        bool changed() const { return store.changed() || needs_cleaning(); }

        /* A file of which the store has only a part is not replaced, or for a reset only. */
        bool needs_cleaning() const {
            return file != FileState::kSound && store.basis() != Basis::kPartOfFile;
        }

        OldFile old_file() const {
            return file == FileState::kDamaged    ? OldFile::kIsKept
                   : file == FileState::kSetAside ? OldFile::kWasKept
                                                  : OldFile::kBecomesPrevious;
        }
    };

    /* What a save writes, and the place for it. */
    struct Snapshot {
        apps_err_e_type result = E_APPS_ERR_SUCCESS; /* the save's, if nothing is to be written */
        bool is_new = false;                         /* whether something is */
        std::string text = {};
        Folders folders = Folders::kPerhapsNew;
        OldFile old_file = OldFile::kBecomesPrevious;
    };
    using Snapshots = std::array<Snapshot, 3>; /* by StoreId */

    static Snapshot &of(Snapshots &taken, StoreId id) { return taken[static_cast<size_t>(id)]; }
    const Held &held(StoreId id) const { return held_[static_cast<size_t>(id)]; }
    Held &held(StoreId id) { return held_[static_cast<size_t>(id)]; }
    const Store &store(StoreId id) const { return held(id).store; }
    Store &store(StoreId id) { return held(id).store; }
    const std::string *find(StoreId id, std::string_view key) const;
    /* Whether the file is unreadable and may contain another value of an unchanged key. */
    bool file_may_differ(StoreId id, std::string_view key) const;
    void load_one(Held &held);
    int open_own_journal(StoreId id);
    static FileState state_of(const LoadedStore &loaded);
    apps_err_e_type open_journal(StoreId id);
    void open_journals_of(StoreId id);
    void apply(const JournalRecord &record);
    void repeat(const JournalRecord &record);
    void show(const JournalRecord *changes, size_t count);
    void note_change(const JournalRecord &record);
    void shorten_if_overgrown(StoreId id);
    apps_err_e_type change(const JournalRecord &record);
    apps_err_e_type change_all(const std::vector<JournalRecord> &records);
    apps_err_e_type change_key(const JournalRecord &record);
    Journal &journal_of(StoreId id) { return held(id).journal; }
    /* Writes to a journal, twice if its file system is full and the observer can free room in it. */
    template <typename Append>
    int with_room(Append append) {
        const int error = append();
        return error == ENOSPC && observer_ != nullptr && observer_->free_room() ? append() : error;
    }
    int append_batch(const std::vector<JournalRecord> &records);
    int append_to_journals(const std::vector<JournalRecord> &records);
    int settle_batch();
    int recover_batch(const std::vector<JournalRecord> &records);
    bool is_change(const JournalRecord &record) const;
    std::vector<JournalRecord> changes_of(ZndbItemSpan items) const;
    bool has_room_for_all(StoreId id, const std::vector<JournalRecord> &records) const;
    apps_err_e_type check_room(const std::vector<JournalRecord> &records) const;
    std::vector<const JournalRecord *> new_changes(const std::vector<JournalRecord> &records) const;
    bool share_allows(const std::vector<const JournalRecord *> &records, const SentBy &by);
    apps_err_e_type change_all_in_share(const std::vector<JournalRecord> &records, BatchAnswer &answer);
    uint32_t conflict_of(ZndbItemSpan items) const;
    apps_err_e_type open_journals_of_all(ZndbItemSpan items);
    /* All checks of a batch. changes: receives what it changes; their texts point into the items. */
    apps_err_e_type check_batch(ZndbItemSpan items, BatchAnswer &answer, std::vector<JournalRecord> &changes);
    apps_err_e_type open_all_journals();
    static bool has_lost_file(const Held &held, const Store &saved);
    static apps_err_e_type read_saved(const Held &held, Store &saved);
    static void note_undone(Held &held);
    static void look_for_file(Held &held);
    static Snapshot snapshot_of(const Held &held);
    /* The save of a store, if there is something to save. opened: the result of opening its journal. */
    Snapshot begin_save(StoreId id, apps_err_e_type opened);
    /* Writes the file without mutex_, and ends the save. */
    apps_err_e_type finish_save(StoreId id, Snapshot &taken);
    apps_err_e_type end_save(StoreId id, const SavedFile &saved);
    void note_saved(Held &held);
    static void note_unsaved(Held &held, bool in_place);
    static void shorten_after_save(Held &held);
    Snapshots begin_requested_save(bool &nothing_of_plain);
    Snapshot begin_factory_save();
    Snapshots begin_last_save();
    Snapshot begin_reset();
    bool changed(StoreId id) const { return held(id).changed(); }
    static int shorten_journal(Held &held);
    static void shorten_overgrown_journal(Held &held);

    os_mutex *const saving_; /* held by the one that writes the stores' files; locked before mutex_ */
    os_mutex *const mutex_;  /* protects everything below */
    Held held_[3];           /* by StoreId */
    Store defaults_;
    UntilReboot until_reboot_;
    BatchFile batch_;
    Shares shares_;
    ChangeObserver *observer_ = nullptr;
    std::vector<std::string> set_aside_;
    bool old_journal_gone_ = false;
};

/*
 * Converts the errno value of a failed write to a client's result: E_APPS_ERR_NOSPACE for a full disk,
 * E_APPS_ERR_ZNDB_READ_ONLY if writing isn't allowed, E_APPS_ERR_ZNDB_MEM without memory, otherwise
 * E_APPS_ERR_ZNDB_OTHER; 0 for 0.
 */
apps_err_e_type result_of_errno(int error);
