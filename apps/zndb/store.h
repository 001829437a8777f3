/*
 * One store in memory: its values, and what has changed since its file was last read or written. Not for
 * files, and without a lock.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

/* The most keys that a store holds, so that no file or client takes all memory. */
inline constexpr size_t kStoreKeysMax = 16384;

class Store {
  public:
    using Values = std::map<std::string, std::string, std::less<>>;
    using Keys = std::set<std::string, std::less<>>;

    /* Returns the key's value, or null when there is none; valid until the next change. */
    const std::string *find(std::string_view key) const;

    /* Whether the key can be set: it is there already, or the store is not full. */
    bool has_room_for(std::string_view key) const;

    /* Takes over what the file holds: not a change. */
    void load(std::string_view key, std::string_view value);

    /* Sets a value. The caller has asked for room. */
    void set(std::string_view key, std::string_view value);

    /* Deletes a key. One that isn't there counts as changed all the same: the file may hold it. */
    void erase(std::string_view key);

    /* Deletes all keys. */
    void clear();

    /* Declares the present values to be the file's. */
    void mark_saved();

    const Values &values() const { return values_; }

    /* What lies between the file and the present values: first cleared or not, then these keys. */
    bool changed() const { return cleared_ || !changed_keys_.empty(); }
    bool cleared() const { return cleared_; }
    const Keys &changed_keys() const { return changed_keys_; }

  private:
    Values values_;
    Keys changed_keys_;
    bool cleared_ = false;
};
