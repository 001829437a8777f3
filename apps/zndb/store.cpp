#include "store.h"

const std::string *Store::find(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second : nullptr;
}

bool Store::has_room_for(std::string_view key) const {
    return values_.size() < kStoreKeysMax || find(key) != nullptr;
}

void Store::load(std::string_view key, std::string_view value) {
    values_.insert_or_assign(std::string(key), std::string(value));
}

void Store::set(std::string_view key, std::string_view value) {
    load(key, value);
    changed_keys_.emplace(key);
}

void Store::erase(std::string_view key) {
    const auto found = values_.find(key);
    if (found != values_.end()) {
        values_.erase(found);
    }
    changed_keys_.emplace(key);
}

void Store::clear() {
    values_.clear();
    changed_keys_.clear();
    cleared_ = true;
}

void Store::mark_saved() {
    changed_keys_.clear();
    cleared_ = false;
}
