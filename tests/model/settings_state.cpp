#include "model/settings_state.h"

#include <algorithm>
#include <iterator>

namespace model {

namespace {

constexpr char kDebugMode[] = "device_debug_mode";
constexpr char kUntilReboot[] = "true";

}  // namespace

Value value_in(const Values &values, const std::string &key) {
    const auto found = values.find(key);
    return found != values.end() ? Value(found->second) : std::nullopt;
}

void put(Values &values, const std::string &key, const Value &value) {
    if (value) {
        values[key] = *value;
    } else {
        values.erase(key);
    }
}

Value State::get(Store store, const std::string &key) const {
    const Value own = value_in(of(store).now, key);
    if (own || store == Store::kPerm) {
        return own;
    }
    const Value overlaid = value_in(of(Store::kFactory).now, key);
    return overlaid ? overlaid : value_in(defaults_, key);
}

void State::change(Store store, const std::string &key, const Value &value) {
    StoreState &changed = of(store);
    const Value before = value_in(changed.now, key);
    if (before == value) {
        return;
    }
    changed.history[key].insert({before, value});
    put(changed.now, key, value);
}

void State::reset() {
    StoreState &plain = of(Store::kPlain);
    for (const auto &[key, value] : plain.now) {
        plain.history[key].insert({value, std::nullopt});
    }
    plain.now.clear();
    plain.emptied = true;
    plain.kept_mode = std::nullopt;
}

void State::save(Store store) {
    StoreState &saved = of(store);
    for (const Values *values : {&saved.disk, &saved.now}) {
        for (const auto &[key, value] : *values) {
            saved.ever[key].insert({value, value_in(saved.now, key), value_in(saved.disk, key)});
        }
    }
    saved.disk = saved.now;
    saved.history.clear();
    saved.emptied = false;
    saved.is_history_exact = true;
    saved.kept_mode = value_in(saved.now, kDebugMode);
}

void State::save_before_power_off(Store store) {
    const StoreState before = of(store);
    save(store);
    if (store == Store::kPlain && value_in(before.now, kDebugMode) == kUntilReboot) {
        put(of(store).disk, kDebugMode, before.kept_mode);
        of(store).kept_mode = before.kept_mode;
    }
    of(store).is_history_exact = false;
    of(store).history = before.history; /* the debug mode's record stays, and others may */
}

void State::cut_power() {
    for (StoreState &each : stores_) {
        each = {each.disk, each.disk, {}, each.ever, false, true, value_in(each.disk, kDebugMode)};
    }
}

bool State::operator==(const State &other) const {
    return std::equal(std::begin(stores_), std::end(stores_), std::begin(other.stores_));
}

}  // namespace model
