/*
 * One state in which the service may be: what its stores hold, and what a power cut would leave of them.
 *
 * Plain values without any file or process, so that the promises can be read here and tested by themselves.
 */
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

namespace model {

/* In the order of zndb_store. */
enum class Store {
    kPlain,
    kPerm,
    kFactory
};

inline constexpr Store kStores[] = {Store::kPlain, Store::kPerm, Store::kFactory};

using Values = std::map<std::string, std::string>;
using Value = std::optional<std::string>; /* none: the key is missing */

Value value_in(const Values &values, const std::string &key);
void put(Values &values, const std::string &key, const Value &value);

struct StoreState {
    Values now;
    Values disk; /* what a power cut leaves */

    /* Every value that a key has had since the last save, for each key that has changed. */
    std::map<std::string, std::set<Value>> history = {};
    std::map<std::string, std::set<Value>> ever = {}; /* every value that a save has left in the file */
    bool emptied = false;                             /* by a reset since the last save */
    bool is_history_exact = true;                     /* or some of it may have been saved */

    /* What the file keeps of the debug mode if the present one lasts until the reboot. */
    Value kept_mode = {};

    bool operator==(const StoreState &other) const {
        return now == other.now && disk == other.disk && history == other.history && ever == other.ever &&
               is_history_exact == other.is_history_exact && emptied == other.emptied &&
               kept_mode == other.kept_mode;
    }
};

class State {
  public:
    explicit State(Values defaults) : defaults_(std::move(defaults)) {}

    StoreState &of(Store store) { return stores_[static_cast<size_t>(store)]; }
    const StoreState &of(Store store) const { return stores_[static_cast<size_t>(store)]; }

    /* What a get finds: plain falls back to the factory overlay, and that to the defaults. */
    Value get(Store store, const std::string &key) const;

    /* Sets a key, or deletes it. */
    void change(Store store, const std::string &key, const Value &value);

    /* Empties the plain store; its file stays as it is. */
    void reset();

    /* What has changed is on the disk. */
    void save(Store store);

    /* As save, before the power goes: the debug mode that lasts until the reboot is not saved. */
    void save_before_power_off(Store store);

    /* Only what is on the disk is left. */
    void cut_power();

    bool operator==(const State &other) const;

  private:
    Values defaults_;
    StoreState stores_[3];
};

}  // namespace model
