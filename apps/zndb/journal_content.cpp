#include "journal_content.h"

using Change = JournalRecord::Change;

const char *JournalContent::take(const JournalRecord &record) {
    Changes &store = changes(record.store);
    if (record.change == Change::kClear) {
        store.basis = Basis::kNothing;
        store.keys.clear();
        return nullptr;
    }

    const auto found = store.keys.find(record.key);
    if (found == store.keys.end() && store.keys.size() >= kJournalKeysMax) {
        return "there are too many keys";
    }
    std::optional<std::string> value;
    if (record.change == Change::kSet) {
        value.emplace(record.value);
    }
    if (found != store.keys.end()) {
        found->second = std::move(value);
    } else {
        store.keys.emplace(record.key, std::move(value));
    }
    return nullptr;
}

void JournalContent::hand_out(const std::function<void(const JournalRecord &record)> &receive) {
    for (const StoreId id : kStoreIds) {
        Changes &store = changes(id);
        if (store.basis == Basis::kNothing) {
            receive({id, Change::kClear, {}, {}});
        }
        /* Remove each record before the next one is copied; otherwise all of them would exist twice. */
        while (!store.keys.empty()) {
            const auto change = store.keys.extract(store.keys.begin());
            const std::optional<std::string> &value = change.mapped();
            receive(value ? JournalRecord{id, Change::kSet, change.key(), *value}
                          : JournalRecord{id, Change::kErase, change.key(), {}});
        }
        store.basis = Basis::kFile;
    }
}
