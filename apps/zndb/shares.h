/*
 * The senders' shares of the changed keys of a store: without a limit one sender could fill a store, or its
 * journal, and nobody else could change anything. The stores count whose keys have changed; this decides.
 *
 * One thread at a time: the database calls it with its lock held.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "formats/entry_line.h"
#include "formats/journal_record.h"
#include "sender.h"

class Store;

/* What a sender may have, unless the service's environment says otherwise. */
inline constexpr size_t kShare = kStoreKeysMax / 4;

/* The share by the service's environment, QUOR_ZNDB_SHARE: a number of keys, 0 for no limit. */
size_t share_limit();

class Shares {
  public:
    /* Returns who sends the message that is being answered. */
    using Source = std::function<SentBy()>;

    /* Nobody is limited. */
    Shares() = default;

    Shares(Source source, size_t limit) : source_(std::move(source)), limit_(limit) {}

    /* Whom the next new changed keys are charged to. */
    SentBy sender() const { return source_ && limit_ != 0 ? source_() : SentBy{kNobody, 0}; }

    /*
     * Whether a sender may have so many more changed keys in a store. Logs refusals, of a sender one a
     * second.
     */
    bool allows(StoreId id, const Store &store, const SentBy &by, size_t more);

  private:
    struct Said {
        Sender sender = kNobody;
        uint32_t at = 0; /* uptime in seconds */
    };

    /* As many senders can have used up their shares of a store. */
    static constexpr size_t kRemembered = 8;

    void report(StoreId id, const SentBy &by);
    bool has_just_said(Sender sender);

    Source source_;
    size_t limit_ = 0; /* 0: none */
    std::array<Said, kRemembered> latest_ = {};
    size_t oldest_ = 0;
};
