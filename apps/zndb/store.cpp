#include "store.h"

const std::string *Store::find(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second : nullptr;
}

bool Store::has_room_for(std::string_view key) const {
    return values_.size() < kStoreKeysMax || find(key) != nullptr;
}

bool Store::has_room_for_change_of(std::string_view key) const {
    return changes_.size() < kChangedKeysMax || changes_.find(key) != changes_.end();
}

void Store::load(std::string_view key, std::string_view value) {
    values_.insert_or_assign(std::string(key), std::string(value));
}

void Store::set(std::string_view key, std::string_view value) {
    const bool file_may_hold_it = unread_ || find(key) != nullptr;
    load(key, value);
    changes_.try_emplace(std::string(key), file_may_hold_it);
}

void Store::erase(std::string_view key) {
    const auto found = values_.find(key);
    if (found != values_.end()) {
        values_.erase(found);
    }

    const auto change = changes_.try_emplace(std::string(key), true).first;
    if (cleared_ || !change->second) {
        changes_.erase(change);
    }
}

void Store::clear() {
    values_.clear();
    changes_.clear();
    cleared_ = true;
    unread_ = false;
}

void Store::revert(std::string_view key, const std::string *saved) {
    if (saved != nullptr) {
        load(key, *saved);
    } else {
        values_.erase(std::string(key));
    }
    changes_.erase(std::string(key));
}

void Store::mark_saved() {
    changes_.clear();
    cleared_ = false;
}

void Store::suspect(std::string_view key) {
    const auto change = changes_.find(key);
    if (change != changes_.end()) {
        change->second = true;
    }
}

void Store::suspect_all_changed() {
    for (auto &change : changes_) {
        change.second = true;
    }
}
