/*
 * The clients' side of the view, see zndb_view_block.h. Any thread, any process; without a lock or a system
 * call.
 */
#pragma once

#include "formats/zndb_view_block.h"

namespace view {

/* How far somebody who watches has got. */
struct Position {
    uint32_t seen = 0;   /* changes up to this serial were told */
    uint32_t reset = 0;  /* resets as well */
    uint32_t moves = 0;  /* what the offset belongs to */
    uint32_t offset = 0; /* where to read on */
};

/* A change, as somebody who watches is told. */
struct Change {
    Place place;
    char key[ZNDB_KEY_LEN];
    char value[ZNDB_VALUE_LEN]; /* kSet only */
};

enum class Found {
    kYes,
    kNo,
    kTooLong, /* the value doesn't fit */
    kBusy,    /* the service is changing the block, or died while it did */
    kDamaged  /* this is no block of the service's */
};

enum class Next {
    kNothing, /* position.seen is the serial to wait on */
    kSet,
    kDeleted,
    kReset,
    kMissed, /* changes may have been missed */
    kBusy,
    kDamaged
};

class Reader {
  public:
    explicit Reader(const Block &block) : block_(block) {}

    /*
     * Looks a key up as a get does: a plain one in the plain store, the factory overlay and the defaults, any
     * other one in its store alone.
     *
     * key: at most 31 characters. value: receives the text and its NUL; undefined unless kYes. size: its
     * bytes.
     */
    Found get(StoreId store, std::string_view key, char *value, uint32_t size) const;

    /* Whether it is whole, and no other block has taken its place. */
    bool is_fresh() const { return block_.head(offsetof(Head, state)) == kFresh && block_.is_whole(); }

    uint32_t serial() const { return block_.head(offsetof(Head, serial)); }
    uint32_t instance() const { return block_.head(offsetof(Head, instance)); }
    uint32_t owner() const { return block_.head(offsetof(Head, owner)); }

    /* Changes with each change, and when the block becomes stale. */
    const uint32_t *serial_word() const { return block_.word(offsetof(Head, serial)); }

    /* Everything up to now counts as told. Returns false during a change. */
    bool start(Position &position) const;

    /*
     * Finds the next change of the plain or the perm store.
     *
     * prefix: that of the key, at most 31 characters. change: receives it for kSet and kDeleted; undefined
     * otherwise.
     */
    Next next(std::string_view prefix, Position &position, Change &change) const;

  private:
    uint32_t begin() const;
    static bool is_even(uint32_t sequence) { return sequence % 2 == 0 && sequence != 0; }
    bool is_unchanged(uint32_t sequence) const;
    Found look_up(StoreId store, std::string_view key, char *value, uint32_t size) const;
    Found copy_value(const Record &record, char *value, uint32_t size) const;
    Position now() const;
    Next look_on(std::string_view prefix, Position &position, Change &change) const;
    Next read_on(std::string_view prefix, Position &position, Change &change) const;
    Next tell(const Record &record, Change &change) const;

    Block block_;
};

}  // namespace view
