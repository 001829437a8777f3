/*
 * The content of a store's journal while it is read: the last record of each key. So the memory needed
 * depends on the number of keys, not of lines. Does not access files. One thread at a time.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "formats/journal_record.h"
#include "store.h"

/* A limit for the keys of one store, which a valid journal never exceeds: clients can't change so many. */
inline constexpr size_t kJournalKeysMax = 2 * kChangedKeysMax;

class JournalContent {
  public:
    explicit JournalContent(StoreId store) : store_(store) {}

    /* Takes the next record. Returns null, or the reason why it is skipped. */
    const char *take(const JournalRecord &record);

    /* Passes all records to receive, and removes them. */
    void hand_out(const std::function<void(const JournalRecord &record)> &receive);

  private:
    const StoreId store_;
    Basis basis_ = Basis::kFile;                                         /* of the keys */
    std::map<std::string, std::optional<StoreValue>, std::less<>> keys_; /* no value: deleted */
};
