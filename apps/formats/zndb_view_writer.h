/*
 * The service's side of the view, see zndb_view_block.h. One thread at a time.
 */
#pragma once

#include "formats/zndb_view_block.h"

namespace view {

/* The number of chains that a block for so many keys has. */
uint32_t chains_for(size_t keys);

/* The bytes of a block for so many keys, whose records take so many bytes: with room for changes, in pages.
 */
size_t size_for(size_t keys, size_t records);

/*
 * Tells the readers of a block that another one has taken its place. bytes: a block, perhaps of another
 * process that has ended. Returns the serial's word, on which readers may wait.
 */
uint32_t *retire(void *bytes);

class Writer {
  public:
    /* Makes an empty block. bytes: zeros, aligned to a word. size: as size_for. serial: to go on from. */
    Writer(void *bytes, size_t size, size_t keys, uint32_t instance, uint32_t serial);

    /* Adds a key while nobody reads the block: not a change. Returns false if there is no room. */
    bool add(Place place, std::string_view key, std::string_view value);

    /* Copies the records of another block while nobody reads this one, as compact would leave them. */
    bool take_over(const Writer &old);

    /* Allows readers to use the block. */
    void publish();

    /*
     * Readers see all that is between begin and end, or nothing. The steps between them return false, and
     * change nothing, without room or if somebody has damaged the block. A step grows the serial.
     */
    void begin();
    bool set(StoreId store, std::string_view key, std::string_view value);
    bool erase(StoreId store, std::string_view key);
    bool clear(StoreId store);
    void end();

    /* Between begin and end: moves the records together, without those that nobody needs. */
    bool compact();

    /* Whether nobody else has cut the block or written over it. */
    bool is_whole() const { return block_.is_whole(); }

    /* Whether compact would make enough room to be worth it. */
    bool has_garbage() const;

    /* The head's, whatever somebody has done to the block. */
    uint32_t serial() const { return serial_; }

    uint32_t *serial_word() { return &words_[offsetof(Head, serial) / sizeof(uint32_t)]; }
    uint32_t *owner_word() { return &words_[offsetof(Head, owner) / sizeof(uint32_t)]; }

    /* Of the keys, and the deletes that are kept: their number, and the bytes of their records. */
    size_t keys() const { return keys_; }
    size_t used() const { return end_ - block_.records_begin() - garbage_; }

  private:
    void store(uint32_t offset, uint32_t word);
    void store_head(size_t member, uint32_t word) { store(static_cast<uint32_t>(member), word); }
    bool find(Place place, std::string_view key, Record &record, uint32_t &link) const;
    bool replace(Place place, Kind kind, std::string_view key, std::string_view value);
    void append(Place place, Kind kind, std::string_view key, std::string_view value, uint32_t serial);
    void store_text(std::string_view text);
    void bury(const Record &record);
    void copy(const Block &from, const Record &record);
    void chain(const Record &record);
    bool keep_from(const Block &from, uint32_t begin, uint32_t end);
    uint32_t deletes_forgotten(const Block &from, uint32_t begin, uint32_t end) const;

    uint32_t *words_;
    Block block_;
    uint32_t end_;    /* the head's, and that of the block before anybody could change it */
    uint32_t serial_; /* the head's after the change */
    uint32_t garbage_ = 0;
    size_t keys_ = 0;
};

}  // namespace view
