/*
 * The content of a journal while it is read: the last record of each key. So the memory needed depends on the
 * number of keys, not of lines. Does not access files. One thread at a time.
 */
#pragma once

#include <array>
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
    /* Takes the next record. Returns null, or the reason why it is skipped. */
    const char *take(const JournalRecord &record);

    /* Passes all records to receive, store by store, and removes them. */
    void hand_out(const std::function<void(const JournalRecord &record)> &receive);

  private:
    struct Changes {
        Basis basis = Basis::kFile;                                               /* of the keys */
        std::map<std::string, std::optional<std::string>, std::less<>> keys = {}; /* no value: deleted */
    };

    Changes &changes(StoreId id) { return stores_[static_cast<size_t>(id)]; }

    std::array<Changes, std::size(kStoreIds)> stores_;
};
