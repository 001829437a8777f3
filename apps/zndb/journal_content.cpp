#include "journal_content.h"

using Change = JournalRecord::Change;

const char *JournalContent::take(const JournalRecord &record) {
    if (record.store != store_) {
        return "it is of another store";
    }
    if (record.change == Change::kClear) {
        basis_ = Basis::kNothing;
        keys_.clear();
        return nullptr;
    }

    const auto found = keys_.find(record.key);
    if (found == keys_.end() && keys_.size() >= kJournalKeysMax) {
        return "there are too many keys";
    }
    std::optional<StoreValue> value;
    if (record.change == Change::kSet) {
        value = value_of(record);
    }
    if (found != keys_.end()) {
        found->second = std::move(value);
    } else {
        keys_.emplace(record.key, std::move(value));
    }
    return nullptr;
}

void JournalContent::hand_out(const std::function<void(const JournalRecord &record)> &receive) {
    if (basis_ == Basis::kNothing) {
        receive({store_, Change::kClear, {}, {}});
    }
    /* Remove each record before the next one is copied; otherwise all of them would exist twice. */
    while (!keys_.empty()) {
        const auto change = keys_.extract(keys_.begin());
        const std::optional<StoreValue> &value = change.mapped();
        receive(value ? set_record(store_, change.key(), *value)
                      : JournalRecord{store_, Change::kErase, change.key(), {}});
    }
    basis_ = Basis::kFile;
}
