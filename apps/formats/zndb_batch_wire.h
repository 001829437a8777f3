/*
 * The batch request of the configuration database, message 2100: a body of 1 to 64 items, and an answer of
 * two words. docs/zndb.md describes it.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "apps_message.h"
#include "formats/zndb_item.h"
#include "zndb_ext.h"

/* Not one of the named message identifiers: only the client and the service know it. */
inline constexpr apps_message_id_e_type kZndbBatchMessage = 2100;

/* The items of a batch; the texts are borrowed. */
class ZndbBatchItems {
  public:
    const ZndbItem *begin() const { return items_.data(); }
    const ZndbItem *end() const { return items_.data() + count_; }
    size_t size() const { return count_; }
    const ZndbItem &operator[](size_t index) const { return items_[index]; }
    ZndbItemSpan span() const { return {items_.data(), count_}; }

    /* Returns false if there are ZNDB_BATCH_MAX items. */
    bool add(const ZndbItem &item);

  private:
    std::array<ZndbItem, ZNDB_BATCH_MAX> items_;
    size_t count_ = 0;
};

/*
 * Reads the body of a batch.
 * items: receives the items, whose texts point into body; undefined on failure.
 * Returns false for a body without items, with more than 64, or with a malformed one.
 */
bool read_batch_body(const void *body, int32_t size, ZndbBatchItems &items);

/* No item of the batch is to blame. */
inline constexpr uint32_t kNoItem = UINT32_MAX;

/* The answer to a batch, for a sender that has room for it. */
struct BatchAnswer {
    int32_t verdict; /* what the client's call returns */
    uint32_t item;   /* the item that decided it, from 0, or kNoItem */
};

static_assert(sizeof(BatchAnswer) == 8);
static_assert(offsetof(BatchAnswer, item) == 4);
