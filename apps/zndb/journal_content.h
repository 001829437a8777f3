/*
 * What a journal says in the end: of all records of one key the last. So a journal takes as much memory to
 * read as its keys, not as its lines. Knows nothing of files. One thread at a time.
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

/* More keys of one store than a journal ever has: clients can't change so many. */
inline constexpr size_t kJournalKeysMax = 2 * kChangedKeysMax;

class JournalContent {
  public:
    /* Takes the next record. Returns null, or why there is no place for it. */
    const char *take(const JournalRecord &record);

    /* Hands out what is there, store by store, and forgets it. */
    void hand_out(const std::function<void(const JournalRecord &record)> &receive);

  private:
    struct Changes {
        Basis basis = Basis::kFile;                                               /* of the keys */
        std::map<std::string, std::optional<std::string>, std::less<>> keys = {}; /* no value: deleted */
    };

    Changes &changes(StoreId id) { return stores_[static_cast<size_t>(id)]; }

    std::array<Changes, std::size(kStoreIds)> stores_;
};
