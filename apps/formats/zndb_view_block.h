/*
 * The view of the database: all stores in one block of shared memory, which the service writes and its
 * clients read without a lock or a system call. Here: its words, and reading one of its records.
 * zndb_view_writer.h and zndb_view_reader.h are the two sides; docs/zndb-view.md describes the bytes. Pure:
 * knows nothing of files.
 *
 * Every access to a word is atomic. A sequence number is odd during a change; a reader that finds it odd, or
 * another one after it has read, tries again. Records follow each other in the order of their changes, and
 * keep their texts and their place until all are moved together. So a reader finds what has changed since it
 * last looked by reading on.
 *
 * Nothing that was read is trusted: whatever the block contains, each step ends and stays inside.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "formats/journal_record.h"
#include "zndb.h"

namespace view {

/* The words at the beginning of the block. */
struct Head {
    uint32_t magic;    /* kMagic */
    uint32_t format;   /* kFormat */
    uint32_t size;     /* of the block, in bytes */
    uint32_t chains;   /* a power of two: so many words follow the head, each the offset of a chain's first */
    uint32_t sequence; /* odd during a change */
    uint32_t serial;   /* grows with each change; readers wait for it with a futex */
    uint32_t state;    /* kFresh or kStale */
    uint32_t instance; /* the service's: another one after each of its starts */
    uint32_t owner;    /* the service's thread, which the kernel marks here when it ends; 0 for none */
    uint32_t end;      /* the offset after the last record */
    uint32_t moves;    /* how often the records were moved */
    uint32_t reset;    /* the serial of the last reset */
    uint32_t forgotten; /* deletes up to this serial may have no record any more */
    uint32_t spare[3];
};

static_assert(sizeof(Head) == 64);
static_assert(offsetof(Head, serial) == 20);
static_assert(offsetof(Head, forgotten) == 48);

inline constexpr uint32_t kMagic = 0x5645495a;
inline constexpr uint32_t kFormat = 1;
inline constexpr uint32_t kFresh = 0x46524553; /* no value that a block of zeros has */
inline constexpr uint32_t kStale = 0x5354414c; /* another block has taken its place */

/* The last word of the block is the magic word too: a block that was cut lacks it. */
inline constexpr uint32_t kTailSize = sizeof(uint32_t);

/* The words before a record's key and value, each of which is filled with zeros to whole words. */
struct RecordHead {
    uint32_t next;   /* the offset of the chain's next record, 0 for none */
    uint32_t serial; /* of its change */
    uint32_t form;   /* bits 0-7 the key's length, 8-11 the place, 12-15 the kind, 16-31 the value's length */
};

static_assert(sizeof(RecordHead) == 12);

/* Where a key is: in one of the stores, by StoreId, or in the defaults. */
enum class Place : uint32_t {
    kPlain = static_cast<uint32_t>(StoreId::kPlain),
    kPerm = static_cast<uint32_t>(StoreId::kPerm),
    kFactory = static_cast<uint32_t>(StoreId::kFactory),
    kDefaults
};

enum class Kind : uint32_t {
    kValue,
    kDeleted, /* the key is gone: kept for those who watch */
    kDead     /* a newer record of the key has taken its place */
};

inline constexpr Place place_of(StoreId store) {
    return static_cast<Place>(store);
}

/* The bytes of a text and the zeros after it. */
inline constexpr uint32_t text_size(size_t length) {
    return static_cast<uint32_t>((length + 3) & ~size_t{3});
}

/* The bytes of a record. */
inline constexpr uint32_t record_size(size_t key_length, size_t value_length) {
    return static_cast<uint32_t>(sizeof(RecordHead)) + text_size(key_length) + text_size(value_length);
}

/* Whether serial a is later than b. Serials wrap. */
inline constexpr bool is_later(uint32_t a, uint32_t b) {
    return static_cast<int32_t>(a - b) > 0;
}

/* A record as it was read. */
struct Record {
    uint32_t offset;
    uint32_t next;
    uint32_t serial;
    Kind kind;
    Place place;
    uint32_t key_length;
    uint32_t value_length;

    uint32_t key_offset() const { return offset + static_cast<uint32_t>(sizeof(RecordHead)); }
    uint32_t value_offset() const { return key_offset() + text_size(key_length); }
    uint32_t after() const { return value_offset() + text_size(value_length); }
};

#ifdef __SANITIZE_THREAD__
/* g++'s thread sanitizer doesn't know fences. */
inline constexpr int kLoad = __ATOMIC_ACQUIRE;
inline constexpr int kStore = __ATOMIC_RELEASE;
inline void order_loads() {}
inline void order_stores() {}
#else
inline constexpr int kLoad = __ATOMIC_RELAXED;
inline constexpr int kStore = __ATOMIC_RELAXED;
/* Orders what was loaded before with what is loaded after; the same for stores. */
inline void order_loads() {
    __atomic_thread_fence(__ATOMIC_ACQUIRE);
}
inline void order_stores() {
    __atomic_thread_fence(__ATOMIC_RELEASE);
}
#endif

inline constexpr uint32_t kWord = sizeof(uint32_t);
inline constexpr char kAllBytes[] = "\xff\xff\xff\xff";

/* Four characters as they stand in a word. */
inline uint32_t whole_word(const char *text) {
    uint32_t word = 0;
    std::memcpy(&word, text, kWord);
    return word;
}

/* The same for one to three characters, with zeros after them. */
inline uint32_t part_word(const char *text, size_t length) {
    uint32_t word = 0;
    std::memcpy(&word, text, length & 3);
    return word;
}

/* Of the words of a text, the last one filled with zeros, and its length. */
inline uint32_t hash_of(std::string_view text) {
    constexpr uint32_t kFactor = 0x9e3779b1;
    auto hash = static_cast<uint32_t>(text.size());
    const char *from = text.data();
    size_t left = text.size();
    for (; left >= kWord; left -= kWord, from += kWord) {
        hash = (hash ^ whole_word(from)) * kFactor;
        hash ^= hash >> 15;
    }
    hash = (hash ^ part_word(from, left)) * kFactor;
    return hash ^ hash >> 15;
}

/* The block as both sides read it. Copies of the size and the number of chains are kept: these never change.
 */
class Block {
  public:
    /*
     * Uses these bytes, if they begin as a block does and are all of it. bytes: aligned to a word; they may
     * change at any time afterwards, but not go.
     */
    static std::optional<Block> open(const void *bytes, size_t size);

    Block(const void *bytes, uint32_t size, uint32_t chains)
        : words_(static_cast<const uint32_t *>(bytes)), size_(size), chains_(chains) {}

    uint32_t size() const { return size_; }
    uint32_t records_end() const { return size_ - kTailSize; }
    uint32_t chains() const { return chains_; }

    /* Whether nobody has cut it, or written something else over it. */
    bool is_whole() const { return head(offsetof(Head, magic)) == kMagic && load(records_end()) == kMagic; }

    /* The first word of a chain that has the key, and that of the first record. */
    uint32_t chain_of(std::string_view key) const {
        return static_cast<uint32_t>(sizeof(Head)) + (hash_of(key) & (chains_ - 1)) * kWord;
    }
    uint32_t records_begin() const {
        return static_cast<uint32_t>(sizeof(Head) + size_t{chains_} * sizeof(uint32_t));
    }

    /* offset: below size, a multiple of four. */
    uint32_t load(uint32_t offset) const { return __atomic_load_n(&words_[offset / kWord], kLoad); }

    const uint32_t *word(uint32_t offset) const { return &words_[offset / sizeof(uint32_t)]; }

    /* A member of the head, by its offset. */
    uint32_t head(size_t member) const { return load(static_cast<uint32_t>(member)); }

    /* Whether a record can begin there and is inside the block. record: undefined otherwise. */
    bool read(uint32_t offset, Record &record) const {
        if (offset % kWord != 0 || offset < records_begin() || offset > records_end() - sizeof(RecordHead)) {
            return false;
        }
        const uint32_t form = load(offset + static_cast<uint32_t>(offsetof(RecordHead, form)));
        record = {offset,
                  load(offset),
                  load(offset + static_cast<uint32_t>(offsetof(RecordHead, serial))),
                  static_cast<Kind>(form >> 12 & 0xf),
                  static_cast<Place>(form >> 8 & 0xf),
                  form & 0xff,
                  form >> 16};
        return record.key_length < ZNDB_KEY_LEN && record.value_length < ZNDB_VALUE_LEN &&
               record.after() <= records_end() && record.kind <= Kind::kDead &&
               record.place <= Place::kDefaults;
    }

    /* Whether the record's key begins with the text. text: at most 31 characters. */
    bool has_prefix(const Record &record, std::string_view text) const {
        return text.size() <= record.key_length && has_text(record.key_offset(), text);
    }
    bool has_key(const Record &record, std::string_view key) const {
        return record.key_length == key.size() && has_text(record.key_offset(), key);
    }

    /* Copies a text of a record. */
    void copy_text(uint32_t offset, uint32_t length, char *to) const {
        for (; length >= kWord; length -= kWord, offset += kWord, to += kWord) {
            const uint32_t word = load(offset);
            std::memcpy(to, &word, kWord);
        }
        if (length > 0) {
            const uint32_t word = load(offset);
            std::memcpy(to, &word, length);
        }
    }

    /* More records than this are not in the block: a chain that has more is a circle. */
    uint32_t most_records() const { return size_ / static_cast<uint32_t>(sizeof(RecordHead)); }

  private:
    /* Whether these characters are there. */
    bool has_text(uint32_t offset, std::string_view text) const {
        const char *from = text.data();
        size_t left = text.size();
        for (; left >= kWord; left -= kWord, offset += kWord, from += kWord) {
            if (load(offset) != whole_word(from)) {
                return false;
            }
        }
        return left == 0 || (load(offset) & part_word(kAllBytes, left)) == part_word(from, left);
    }

    const uint32_t *words_;
    uint32_t size_;
    uint32_t chains_;
};

}  // namespace view
