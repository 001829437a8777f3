#include "formats/store_values.h"

StoreValue value_of(const JournalRecord &record) {
    return StoreValue(record.value);
}

JournalRecord set_record(StoreId store, std::string_view key, const StoreValue &value) {
    return {store, JournalRecord::Change::kSet, key, value};
}

void apply_record(StoreValues &values, const JournalRecord &record) {
    switch (record.change) {
        case JournalRecord::Change::kSet:
            values.insert_or_assign(std::string(record.key), value_of(record));
            break;
        case JournalRecord::Change::kErase:
            values.erase(std::string(record.key));
            break;
        case JournalRecord::Change::kClear:
            values.clear();
            break;
    }
}
