/*
 * One change, expectation or entry of a store, as batches and lists send it: eight bytes, then the key and
 * the value without a NUL. Words are in host byte order. docs/zndb.md describes it.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "formats/journal_record.h"
#include "zndb.h"

/* What an item is about its key. */
enum class ItemKind : uint8_t {
    kSet,          /* in a list: the value */
    kDelete,       /* in a list of changes: the key was deleted */
    kExpect,       /* the key must have this value */
    kExpectMissing /* the key must be missing */
};

/* The texts are borrowed. */
struct ZndbItem {
    ItemKind kind;
    StoreId store;
    std::string_view key;   /* at most 31 bytes */
    std::string_view value; /* at most 1023 bytes; kSet and kExpect only */
};

/* Items in a row, borrowed. */
struct ZndbItemSpan {
    const ZndbItem *first;
    size_t count;

    const ZndbItem *begin() const { return first; }
    const ZndbItem *end() const { return first + count; }
    size_t size() const { return count; }
    const ZndbItem &operator[](size_t index) const { return first[index]; }
};

/* The bytes before the texts. */
struct zndb_item_head {
    uint8_t kind;
    uint8_t store;
    uint8_t key_size;
    uint8_t unused; /* 0 */
    uint32_t value_size;
};

static_assert(sizeof(zndb_item_head) == 8);
static_assert(offsetof(zndb_item_head, key_size) == 2);
static_assert(offsetof(zndb_item_head, value_size) == 4);

inline constexpr size_t kItemSizeMax = sizeof(zndb_item_head) + ZNDB_KEY_LEN - 1 + ZNDB_VALUE_LEN - 1;

/* Whether an item of this kind has a value. */
constexpr bool has_value(ItemKind kind) {
    return kind == ItemKind::kSet || kind == ItemKind::kExpect;
}

/* Returns the number of bytes that the item takes. */
constexpr size_t item_size(const ZndbItem &item) {
    return sizeof(zndb_item_head) + item.key.size() + item.value.size();
}

/* Writes an item; to: room for item_size bytes. */
void write_item(void *to, const ZndbItem &item);

/* Reads items that stand one after another. */
class ZndbItems {
  public:
    ZndbItems(const void *bytes, size_t size) : next_(static_cast<const char *>(bytes)), left_(size) {}

    /*
     * Reads the next item. item: receives it, its texts point into the bytes; unchanged on failure.
     * Returns false at the end, and for an item that is malformed.
     */
    bool next(ZndbItem &item);

    /* Whether all bytes were read; if not, the next item is malformed. */
    bool at_end() const { return left_ == 0; }

  private:
    const char *next_;
    size_t left_;
};
