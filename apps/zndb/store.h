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

/* The maximum number of keys that a store accepts from its file or from clients. The journal can add more:
 * see overfull. */
inline constexpr size_t kStoreKeysMax = 16384;

/*
 * The maximum number of unsaved changed keys, so that no client can exhaust the memory. Limit: every key of a
 * full file deleted, plus as many new keys. If the file is unreadable, every deleted key counts. A start also
 * replays deletes of keys that no file contains; the journal is shortened often enough that there are at most
 * kStoreKeysMax of these.
 */
inline constexpr size_t kChangedKeysMax = 2 * kStoreKeysMax;

class Store {
  public:
    using Values = std::map<std::string, std::string, std::less<>>;
    using Changes = std::map<std::string, bool, std::less<>>; /* key, and whether the file may contain it */

    /* Returns the key's value, or null if it is missing; valid until the next change. */
    const std::string *find(std::string_view key) const;

    /* Whether the key can be set: it exists, or the store is not full. */
    bool has_room_for(std::string_view key) const;

    /* Whether the key can be set or deleted: it has already changed, or the limit is not reached. */
    bool has_room_for_change_of(std::string_view key) const;

    /* Whether it has more keys than a file may have. */
    bool overfull() const { return values_.size() > kStoreKeysMax; }

    /* Adds a key of the file; not a change. */
    void load(std::string_view key, std::string_view value);

    /* Sets a value. The caller has checked that there is room. */
    void set(std::string_view key, std::string_view value);

    /*
     * Deletes a key. A missing key counts as changed too, since the file may contain it. A key that was added
     * after the last save, so that no file can contain it, is forgotten.
     */
    void erase(std::string_view key);

    /* Deletes all keys. The file's content becomes irrelevant, even if the file was unreadable. */
    void clear();

    /* Reverts a key's change. saved: the file's value, or null for none. */
    void revert(std::string_view key, const std::string *saved);

    /* Marks the present values as saved. */
    void mark_saved();

    /* Marks the file as unreadable: it may contain any key. */
    void mark_unread() { unread_ = true; }
    bool unread() const { return unread_; }

    /* Records that the file may contain the key, if the key has changed. */
    void suspect(std::string_view key);

    /* The same for all changed keys: a failed save may have replaced the file. */
    void suspect_all_changed();

    const Values &values() const { return values_; }

    /* The difference between the file and the present values: whether the store was cleared, then these keys.
     */
    bool changed() const { return cleared_ || !changes_.empty(); }
    bool cleared() const { return cleared_; }
    const Changes &changes() const { return changes_; }

  private:
    Values values_;
    Changes changes_;
    bool cleared_ = false;
    bool unread_ = false;
};
