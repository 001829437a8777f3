/*
 * One store in memory: its values, and what has changed since its file was last read or written. Not for
 * files, and without a lock.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

/* The most keys that a store takes of its file or of clients. The journal can add more: see Savable. */
inline constexpr size_t kStoreKeysMax = 16384;

/*
 * The most keys that clients can make changed ones, so that no client takes all memory: all those of a full
 * file, deleted, and as many new ones. Where the file may hold any key, each deleted one counts. A start
 * repeats the deletes of keys that were forgotten; the journal is shortened often enough for kStoreKeysMax of
 * these.
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
    kPerhaps
};

/* Whether a store may replace its file. */
enum class Savable {
    kYes,
    kNotWhole, /* the file has values that the store lacks */
    kOverfull  /* the store has more keys than a file may have */
};

class Store {
  public:
    using Values = std::map<std::string, std::string, std::less<>>;
    using Changes = std::map<std::string, InFile, std::less<>>;

    /* Returns the key's value, or null when there is none; valid until the next change. */
    const std::string *find(std::string_view key) const;

    /* Whether the key can be set: it is there already, or the store is not full. */
    bool has_room_for(std::string_view key) const;

    /* Whether the key can be set or deleted: it is a changed one already, or there are not too many. */
    bool has_room_for_change_of(std::string_view key) const;

    Savable savable() const;

    /* Takes over what the file holds: not a change. */
    void load(std::string_view key, std::string_view value);

    /* Sets a value. The caller has asked for room. */
    void set(std::string_view key, std::string_view value);

    /*
     * Deletes a key. One that isn't there counts as changed all the same, since the file may hold it; one
     * that no file can hold, as it came after the last save, is forgotten.
     */
    void erase(std::string_view key);

    /* Deletes all keys. Nothing of the file is wanted any more, whether it could be read or not. */
    void clear();

    /* Takes a key's change back: it has the file's value, or null for none, and is no changed one. */
    void revert(std::string_view key, const std::string *saved);

    /* Declares the present values to be the file's. */
    void mark_saved();

    /* Declares that the file was not read whole. */
    void mark_partly_read() { basis_ = Basis::kPartOfFile; }

    /* Declares that the file may hold the key, if it is a changed one. */
    void assume_in_file(std::string_view key);

    /* The same for all changed keys: a save that fails may have put its file in place. */
    void assume_all_in_file();

    const Values &values() const { return values_; }

    /* What lies between the file and the present values: first what they rest on, then these keys. */
    bool changed() const { return basis_ == Basis::kNothing || !changes_.empty(); }
    Basis basis() const { return basis_; }
    const Changes &changes() const { return changes_; }

  private:
    Values values_;
    Changes changes_;
    Basis basis_ = Basis::kFile;
};
