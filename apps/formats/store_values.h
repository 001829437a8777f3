/*
 * The values of a store, as the database, its journal and the tools keep them, and what a record of a journal
 * does to them. Pure; does not access files.
 */
#pragma once

#include <functional>
#include <map>
#include <string>

#include "formats/device_paths.h"
#include "formats/journal_record.h"

/* What is kept of a key. */
using StoreValue = std::string;

/* By key. */
using StoreValues = std::map<std::string, StoreValue, std::less<>>;

/*
 * The value of a record that sets one, and such a record. Who keeps or hands on values does that through
 * these two, so that a journal's field that belongs to a value is added here and in the record.
 */
StoreValue value_of(const JournalRecord &record);
JournalRecord set_record(StoreId store, std::string_view key, const StoreValue &value);

/* Changes the values as the record says, whatever its store. */
void apply_record(StoreValues &values, const JournalRecord &record);

/* Where a store that can change lies, and its unsaved changes. */
struct StorePaths {
    const char *file;
    const char *journal;
};

/* In the order of StoreId. */
inline constexpr StorePaths kStorePaths[] = {{paths::kPlainFile, paths::kPlainJournal},
                                             {paths::kPermFile, paths::kPermJournal},
                                             {paths::kFactoryFile, paths::kFactoryJournal}};

constexpr const StorePaths &paths_of(StoreId id) {
    return kStorePaths[static_cast<size_t>(id)];
}
