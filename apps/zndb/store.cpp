#include "store.h"

#include <iterator>
#include <utility>

const StoreValue *Store::find(std::string_view key) const {
    const auto found = values_.find(key);
    return found != values_.end() ? &found->second : nullptr;
}

bool Store::has_room_for(std::string_view key) const {
    return values_.size() < kStoreKeysMax || find(key) != nullptr;
}

bool Store::has_room_for_change_of(std::string_view key) const {
    return changes_.size() < kChangedKeysMax || changes_.find(key) != changes_.end();
}

Savable Store::savable() const {
    if (basis_ == Basis::kPartOfFile) {
        return Savable::kNotWhole;
    }
    return values_.size() > kStoreKeysMax ? Savable::kOverfull : Savable::kYes;
}

void Store::forget(Changes::iterator change) {
    const auto share = shares_.find(change->second.by);
    if (share != shares_.end() && --share->second == 0) {
        shares_.erase(share);
    }
    changes_.erase(change);
}

void Store::forget_all() {
    changes_.clear();
    shares_.clear();
}

void Store::charge(std::string_view key, Sender by) {
    const auto change = changes_.find(key);
    if (change != changes_.end() && change->second.by == kNobody && by != kNobody) {
        change->second.by = by;
        ++shares_[by];
    }
}

size_t Store::changes_of(Sender by) const {
    const auto share = shares_.find(by);
    return share != shares_.end() ? share->second : 0;
}

void Store::load(std::string_view key, StoreValue value) {
    values_.insert_or_assign(std::string(key), std::move(value));
}

bool Store::carry(std::string line) {
    if (line.size() >= kCarriedMax - carried_size_) {
        return false;
    }
    carried_size_ += line.size() + 1;
    carried_.push_back(std::move(line));
    return true;
}

/* in_file: whether the file may hold the key, if it has not changed before. */
Store::Changes::iterator Store::note_change(std::string_view key, InFile in_file) {
    const auto change = changes_.try_emplace(std::string(key), Changed{in_file}).first;
    InFile &noted = change->second.in_file;
    noted = noted == InFile::kBeingWritten ? InFile::kPerhaps : noted;
    return change;
}

void Store::set(std::string_view key, StoreValue value) {
    const bool perhaps = basis_ == Basis::kPartOfFile || find(key) != nullptr;
    load(key, std::move(value));
    (void)note_change(key, perhaps ? InFile::kPerhaps : InFile::kNo);
}

void Store::erase(std::string_view key) {
    const auto found = values_.find(key);
    if (found != values_.end()) {
        values_.erase(found);
    }

    const Changes::iterator change = note_change(key, InFile::kPerhaps);
    const bool is_in_no_file = change->second.in_file == InFile::kNo;
    if (is_in_no_file || (basis_ == Basis::kNothing && !is_saving_)) {
        forget(change);
    }
}

void Store::clear() {
    values_.clear();
    forget_all();
    carried_.clear();
    carried_size_ = 0;
    basis_ = Basis::kNothing;
    is_saving_ = false;
}

void Store::revert(std::string_view key, const StoreValue *saved) {
    if (saved != nullptr) {
        load(key, *saved);
    } else {
        values_.erase(std::string(key));
    }
    const auto change = changes_.find(key);
    if (change != changes_.end()) {
        forget(change);
    }
}

void Store::begin_save() {
    for (auto &change : changes_) {
        change.second.in_file = InFile::kBeingWritten;
    }
    is_saving_ = true;
}

void Store::mark_saved() {
    if (!is_saving_) {
        return; /* everything was deleted meanwhile, what the file has now included */
    }
    for (auto change = changes_.begin(); change != changes_.end();) {
        const auto next = std::next(change);
        if (change->second.in_file == InFile::kBeingWritten) {
            forget(change);
        }
        change = next;
    }
    basis_ = Basis::kFile;
    is_saving_ = false;
}

void Store::mark_unsaved() {
    for (auto &change : changes_) {
        InFile &noted = change.second.in_file;
        noted = noted == InFile::kBeingWritten ? InFile::kPerhaps : noted;
    }
    is_saving_ = false;
}

void Store::assume_in_file(std::string_view key) {
    const auto change = changes_.find(key);
    if (change != changes_.end()) {
        change->second.in_file = InFile::kPerhaps;
    }
}
