/*
 * One store in memory: its values, and its changes since its file was last read or written. Does not access
 * files, and has no lock.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "formats/entry_line.h"
#include "formats/store_values.h"
#include "sender.h"

/*
 * The maximum number of unsaved changed keys, so that no client can exhaust the memory. Limit: every key of a
 * full file deleted, plus as many new keys. If the file is unreadable, every deleted key counts. A start also
 * replays deletes of keys that no file contains; the journal is shortened often enough that there are at most
 * kStoreKeysMax of these.
 */
inline constexpr size_t kChangedKeysMax = 2 * kStoreKeysMax;

/* What the values of a store, beside its changes, come from. */
enum class Basis {
    kFile,       /* the whole file */
    kPartOfFile, /* what could be read of it: it may hold any key */
    kNothing     /* all keys were deleted: nothing of the file is wanted any more */
};

/* Whether the file may hold a key that has changed since it was last read or written. */
enum class InFile {
    kNo,
    kPerhaps,
    kBeingWritten /* perhaps, and the save in progress writes what the store has of the key */
};

/* What is known of a changed key. */
struct Changed {
    InFile in_file;
    Sender by = kNobody; /* whose share it is of */

    bool operator==(const Changed &other) const { return in_file == other.in_file && by == other.by; }
};

/* Whether a store may replace its file. */
enum class Savable {
    kYes,
    kNotWhole, /* the file has values that the store lacks */
    kOverfull  /* the store has more keys than a file may have */
};

/* The maximum bytes of the lines that a store carries along. */
inline constexpr size_t kCarriedMax = 65536;

class Store {
  public:
    using Values = StoreValues;
    using Changes = std::map<std::string, Changed, std::less<>>;

    /* Returns the key's value, or null if it is missing; valid until the next change. */
    const StoreValue *find(std::string_view key) const;

    /* Whether the key can be set: it exists, or the store is not full. */
    bool has_room_for(std::string_view key) const;

    /* Whether the key can be set or deleted: it has already changed, or the limit is not reached. */
    bool has_room_for_change_of(std::string_view key) const;

    Savable savable() const;

    /* Adds a key of the file; not a change. */
    void load(std::string_view key, StoreValue value);

    /*
     * Keeps a line of the file that this service doesn't understand, so that the next save writes it again.
     * Returns false if there are too many.
     */
    bool carry(std::string line);
    const std::vector<std::string> &carried() const { return carried_; }

    /* Sets a value. The caller has checked that there is room. */
    void set(std::string_view key, StoreValue value);

    /*
     * Deletes a key. A missing key counts as changed too, since the file may contain it. A key that was added
     * after the last save, so that no file can contain it, is forgotten.
     */
    void erase(std::string_view key);

    /* Deletes all keys and what is carried along. The file's content becomes irrelevant, even if the file was
     * unreadable. */
    void clear();

    /* Reverts a key's change. saved: the file's value, or null for none. */
    void revert(std::string_view key, const StoreValue *saved);

    /*
     * Begins a save of the present values. Until it ends, they may change: the changes that the save knows
     * are told from later ones.
     */
    void begin_save();

    /* Marks the values that the save has written as saved, and no later change. */
    void mark_saved();

    /* Ends a save that failed: nothing is saved, but it may have put its file in place. */
    void mark_unsaved();

    /* Charges a key to a sender's share, if it is a changed one and charged to nobody. */
    void charge(std::string_view key, Sender by);

    /* How many changed keys are charged to a sender. */
    size_t changes_of(Sender by) const;

    /* Declares that the file was not read whole. */
    void mark_partly_read() { basis_ = Basis::kPartOfFile; }

    /* Declares that the file may hold the key, if it is a changed one. */
    void assume_in_file(std::string_view key);

    const Values &values() const { return values_; }

    /* What lies between the file and the present values: first what they rest on, then these keys. */
    bool changed() const { return basis_ == Basis::kNothing || !changes_.empty(); }
    Basis basis() const { return basis_; }
    const Changes &changes() const { return changes_; }

  private:
    void forget(Changes::iterator change);
    void forget_all();
    Changes::iterator note_change(std::string_view key, InFile in_file);

    Values values_;
    Changes changes_;
    std::vector<std::string> carried_;
    size_t carried_size_ = 0;
    std::map<Sender, size_t> shares_; /* of those who have any */
    Basis basis_ = Basis::kFile;
    bool is_saving_ = false; /* and the file will have all values that were there at its beginning */
};
