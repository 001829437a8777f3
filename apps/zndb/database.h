/*
 * The database: its stores, their files and the journal, put together. Knows nothing of messages.
 *
 * Every function may be called from any thread. Results are those that a client receives; every refusal
 * has been logged, values never are.
 */
#pragma once

#include <cstdint>
#include <string_view>

#include "apps_err.h"
#include "formats/journal_record.h"
#include "formats/zndb_wire.h"
#include "journal.h"
#include "os_thread.h"
#include "store.h"
#include "store_file.h"
#include "until_reboot.h"

class Database {
  public:
    Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    ~Database();

    /* Reads the files and the journal. Once, before anything else. */
    void load();

    /*
     * Reads a value: kPlain falls back to kFactory, and that to the defaults; kPerm to nothing.
     *
     * buffer, size: receives the NUL-terminated text; unchanged on failure.
     * Returns 0, E_APPS_ERR_ZNDB_NO_FOUND, or E_APPS_ERR_OUTOFBUF.
     */
    apps_err_e_type get(StoreId id, std::string_view key, char *buffer, uint32_t size);

    /*
     * Sets a value in a store. It is in the journal when the call returns 0; otherwise nothing has changed:
     * E_APPS_ERR_ZNDB_ARG for a text that a line can't hold, E_APPS_ERR_ZNDB_MEM for a full store or one key
     * more than may be changed, or what result_of_errno says.
     */
    apps_err_e_type set(StoreId id, std::string_view key, std::string_view value);

    /*
     * Deletes a key of this store; E_APPS_ERR_ZNDB_NO_FOUND when it has none, and none that its file could
     * bring back when that could not be read. Otherwise as set.
     */
    apps_err_e_type erase(StoreId id, std::string_view key);

    /*
     * Empties the plain store; as set. Refused, with what result_of_errno says, where its file can't be
     * replaced: then the store would be empty, and the file would bring everything back.
     */
    apps_err_e_type reset();

    /*
     * Writes the plain and the perm file, where they have changed. A failure of one stops not the other.
     *
     * Returns the plain store's result, or the perm store's where that alone had changes. A result is 0,
     * E_APPS_ERR_ZNDB_OTHER for a file that was not read, E_APPS_ERR_ZNDB_MEM for a store with more keys than
     * a file may have, or what result_of_errno says. Each failure has been logged. each: receives both
     * results, if it is not null.
     */
    apps_err_e_type save(SaveResults *each = nullptr);

    /* Writes the file of the factory overlay, where it has changed; as save. */
    apps_err_e_type save_factory();

    /* Writes the journal in its shortest form. */
    apps_err_e_type save_ram();

    /*
     * Writes every file whose store has changed, before the device reboots or its power goes off. What lasts
     * until the reboot stays unsaved. Tries all, returns the first failure.
     */
    apps_err_e_type save_before_power_off();

  private:
    enum class FileState {
        kSound,
        kDamaged,         /* lines of it were skipped */
        kPerhapsNotOnDisk /* it replaced a damaged one, which a power cut may bring back */
    };

    struct Held {
        const char *path;
        Store store = {};
        Folders folders = Folders::kPerhapsNew;
        FileState file = FileState::kSound;

        /* Whether a save has something to write. */
        bool changed() const { return store.changed() || needs_cleaning(); }

        /* A file of which the store has only a part is not replaced, or for a reset only. */
        bool needs_cleaning() const {
            return file != FileState::kSound && store.basis() != Basis::kPartOfFile;
        }
    };

    const Store &store(StoreId id) const { return held_[static_cast<size_t>(id)].store; }
    Store &store(StoreId id) { return held_[static_cast<size_t>(id)].store; }
    const std::string *find(StoreId id, std::string_view key) const;
    /* Whether the file, which was not read whole, may hold another value of a key that is as it was then. */
    bool file_may_differ(StoreId id, std::string_view key) const;
    void load_one(Held &held);
    apps_err_e_type open_journal();
    void apply(const JournalRecord &record);
    void repeat(const JournalRecord &record);
    apps_err_e_type change(const JournalRecord &record);
    apps_err_e_type change_key(const JournalRecord &record);
    apps_err_e_type save_one(StoreId id);
    bool changed(StoreId id) const { return held_[static_cast<size_t>(id)].changed(); }
    void list_pending(const Journal::Replay &add) const;
    uint64_t pending_size() const;
    int shorten_journal();
    void shorten_overgrown_journal();

    os_mutex *const mutex_; /* protects everything below */
    Held held_[3];          /* by StoreId */
    Store defaults_;
    UntilReboot until_reboot_;
    Journal journal_;
    size_t deletes_ = 0; /* since the journal was written in its shortest form: all would be repeated */
};

/*
 * What a client is told when a file can't be written: E_APPS_ERR_NOSPACE for a full disk,
 * E_APPS_ERR_ZNDB_READ_ONLY where writing isn't allowed, E_APPS_ERR_ZNDB_MEM without memory, otherwise
 * E_APPS_ERR_ZNDB_OTHER; 0 for 0.
 */
apps_err_e_type result_of_errno(int error);
