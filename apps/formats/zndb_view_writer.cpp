#include "formats/zndb_view_writer.h"

#include <algorithm>
#include <cstring>

namespace view {

namespace {

constexpr size_t kPage = 4096;

/* A block has room for changes of so large a part of its records: then they are moved together. */
constexpr size_t kRoomPart = 16;

/* Moving is worth it if so large a part of the block is garbage; otherwise the block is too small. */
constexpr uint32_t kGarbagePart = 32;

constexpr uint32_t kFirstSequence = 2;

/* Deletes are kept in so large a part of the block. */
constexpr uint32_t kDeletesPart = 16;

uint32_t form_of(Place place, Kind kind, size_t key_length, size_t value_length) {
    return static_cast<uint32_t>(key_length) | static_cast<uint32_t>(place) << 8 |
           static_cast<uint32_t>(kind) << 12 | static_cast<uint32_t>(value_length) << 16;
}

uint32_t word_at(const uint32_t *words, size_t member) {
    return __atomic_load_n(&words[member / kWord], kLoad);
}

/* The checker takes an atomic store for a read. */
void put_word(uint32_t *words, size_t member,  // NOLINT(readability-non-const-parameter)
              uint32_t word) {
    __atomic_store_n(&words[member / kWord], word, kStore);
}

constexpr uint32_t offset_of_form(uint32_t record) {
    return record + static_cast<uint32_t>(offsetof(RecordHead, form));
}

}  // namespace

uint32_t chains_for(size_t keys) {
    uint32_t chains = 16;
    while (chains < keys / 2) {
        chains *= 2;
    }
    return chains;
}

size_t size_for(size_t keys, size_t records) {
    const size_t room = records / kRoomPart + record_size(ZNDB_KEY_LEN, ZNDB_VALUE_LEN);
    const size_t least = sizeof(Head) + size_t{chains_for(keys)} * kWord + records + room + kTailSize;
    return (least + kPage - 1) / kPage * kPage;
}

/*
 * The serial changes, so that nobody begins to wait on it after the wake-up. The sequence stays odd: this
 * serial is that of no change.
 */
uint32_t *retire(void *bytes) {
    auto *words = static_cast<uint32_t *>(bytes);
    put_word(words, offsetof(Head, state), kStale);
    put_word(words, offsetof(Head, sequence), word_at(words, offsetof(Head, sequence)) | 1);
    order_stores();
    uint32_t *serial = &words[offsetof(Head, serial) / kWord];
    __atomic_fetch_add(serial, 1, __ATOMIC_RELEASE);
    return serial;
}

Writer::Writer(void *bytes, size_t size, size_t keys, uint32_t instance, uint32_t serial)
    : words_(static_cast<uint32_t *>(bytes)),
      block_(bytes, static_cast<uint32_t>(size), chains_for(keys)),
      end_(block_.records_begin()),
      serial_(serial) {
    store_head(offsetof(Head, magic), kMagic);
    store_head(offsetof(Head, format), kFormat);
    store_head(offsetof(Head, size), block_.size());
    store_head(offsetof(Head, chains), block_.chains());
    store_head(offsetof(Head, sequence), kFirstSequence);
    store_head(offsetof(Head, serial), serial);
    store_head(offsetof(Head, instance), instance);
    store_head(offsetof(Head, end), end_);
    store_head(offsetof(Head, reset), serial);
    store_head(offsetof(Head, forgotten), serial);
    store(block_.records_end(), kMagic);
}

void Writer::store(uint32_t offset, uint32_t word) {
    __atomic_store_n(&words_[offset / kWord], word, kStore);
}

void Writer::publish() {
    __atomic_store_n(&words_[offsetof(Head, state) / kWord], kFresh, __ATOMIC_RELEASE);
}

void Writer::begin() {
    store_head(offsetof(Head, sequence), block_.head(offsetof(Head, sequence)) | 1);
    order_stores();
}

/* A serial of 0 would look like no view, and a sequence of 0 like a block of zeros. */
void Writer::end() {
    serial_ = serial_ == 0 ? 1 : serial_;
    const uint32_t sequence = block_.head(offsetof(Head, sequence)) + 1;
    store_head(offsetof(Head, end), end_);
    store_head(offsetof(Head, serial), serial_);
    __atomic_store_n(&words_[offsetof(Head, sequence) / kWord], sequence == 0 ? kFirstSequence : sequence,
                     __ATOMIC_RELEASE);
}

/* Finds the record of a key, or of its delete. link: receives the offset of the word that leads to it. */
bool Writer::find(Place place, std::string_view key, Record &record, uint32_t &link) const {
    link = block_.chain_of(key);
    uint32_t left = block_.most_records();
    for (uint32_t offset = block_.load(link); offset != 0 && left-- > 0; offset = block_.load(link)) {
        if (!block_.read(offset, record)) {
            return false;
        }
        if (record.place == place && block_.has_key(record, key)) {
            return true;
        }
        link = offset;
    }
    return false;
}

void Writer::store_text(std::string_view text) {
    for (; !text.empty(); text.remove_prefix(std::min<size_t>(text.size(), kWord)), end_ += kWord) {
        uint32_t word = 0;
        std::memcpy(&word, text.data(), std::min<size_t>(text.size(), kWord));
        store(end_, word);
    }
}

void Writer::append(Place place, Kind kind, std::string_view key, std::string_view value, uint32_t serial) {
    const uint32_t chain = block_.chain_of(key);
    const uint32_t record = end_;
    store(record, block_.load(chain));
    store(record + static_cast<uint32_t>(offsetof(RecordHead, serial)), serial);
    store(offset_of_form(record), form_of(place, kind, key.size(), value.size()));
    end_ += static_cast<uint32_t>(sizeof(RecordHead));
    store_text(key);
    store_text(value);
    store(chain, record);
    ++keys_;
}

/* Marks a record as dead; the caller has taken it out of its chain. */
void Writer::bury(const Record &record) {
    store(offset_of_form(record.offset),
          form_of(record.place, Kind::kDead, record.key_length, record.value_length));
    garbage_ += record.after() - record.offset;
    --keys_;
}

bool Writer::replace(Place place, Kind kind, std::string_view key, std::string_view value) {
    if (record_size(key.size(), value.size()) > block_.records_end() - end_) {
        return false;
    }
    Record old;
    uint32_t link = 0;
    if (find(place, key, old, link)) {
        store(link, old.next);
        bury(old);
    }
    append(place, kind, key, value, ++serial_);
    return true;
}

bool Writer::add(Place place, std::string_view key, std::string_view value) {
    if (record_size(key.size(), value.size()) > block_.records_end() - end_) {
        return false;
    }
    append(place, Kind::kValue, key, value, serial_);
    store_head(offsetof(Head, end), end_);
    return true;
}

bool Writer::set(StoreId store, std::string_view key, std::string_view value) {
    return replace(place_of(store), Kind::kValue, key, value);
}

bool Writer::erase(StoreId store, std::string_view key) {
    Record old;
    uint32_t link = 0;
    const bool is_there = find(place_of(store), key, old, link) && old.kind == Kind::kValue;
    return !is_there || replace(place_of(store), Kind::kDeleted, key, {});
}

bool Writer::clear(StoreId store) {
    for (uint32_t offset = block_.records_begin(); offset < end_;) {
        Record record;
        if (!block_.read(offset, record)) {
            return false;
        }
        if (record.place == place_of(store) && record.kind != Kind::kDead) {
            bury(record);
        }
        offset = record.after();
    }
    store_head(offsetof(Head, reset), ++serial_);
    return compact();
}

bool Writer::has_garbage() const {
    return garbage_ > block_.size() / kGarbagePart;
}

/* The serial up to which deletes have to go, so that the others have room. */
uint32_t Writer::deletes_forgotten(const Block &from, uint32_t begin, uint32_t end) const {
    uint32_t size = 0;
    Record record;
    for (uint32_t offset = begin; offset < end && from.read(offset, record); offset = record.after()) {
        size += record.kind == Kind::kDeleted ? record.after() - offset : 0;
    }
    uint32_t forgotten = block_.head(offsetof(Head, forgotten));
    for (uint32_t offset = begin;
         size > block_.size() / kDeletesPart && offset < end && from.read(offset, record);
         offset = record.after()) {
        if (record.kind == Kind::kDeleted) {
            size -= record.after() - offset;
            forgotten = record.serial;
        }
    }
    return forgotten;
}

/* Copies a record to the end, which may overlap it. */
void Writer::copy(const Block &from, const Record &record) {
    for (uint32_t offset = record.offset; offset < record.after(); offset += kWord, end_ += kWord) {
        store(end_, from.load(offset));
    }
}

/* Makes the record that ends at the end the first one of its chain. */
void Writer::chain(const Record &record) {
    char key[ZNDB_KEY_LEN];
    const uint32_t offset = end_ - (record.after() - record.offset);
    block_.copy_text(offset + static_cast<uint32_t>(sizeof(RecordHead)), record.key_length, key);
    const uint32_t chain = block_.chain_of({key, record.key_length});
    store(offset, block_.load(chain));
    store(chain, offset);
    ++keys_;
}

/* Moves the records that are needed to the end. Returns false if there is no room or something is damaged. */
bool Writer::keep_from(const Block &from, uint32_t begin, uint32_t end) {
    const uint32_t forgotten = deletes_forgotten(from, begin, end);
    store_head(offsetof(Head, forgotten), forgotten);
    for (uint32_t offset = begin; offset < end;) {
        Record record;
        if (!from.read(offset, record)) {
            return false;
        }
        offset = record.after();
        const bool goes = record.kind == Kind::kDead ||
                          (record.kind == Kind::kDeleted && !is_later(record.serial, forgotten));
        if (goes) {
            continue;
        }
        if (record.after() - record.offset > block_.records_end() - end_) {
            return false;
        }
        copy(from, record);
        chain(record);
    }
    return true;
}

bool Writer::compact() {
    const uint32_t end = end_;
    for (uint32_t chain = 0; chain < block_.chains(); ++chain) {
        store(static_cast<uint32_t>(sizeof(Head)) + chain * kWord, 0);
    }
    keys_ = 0;
    garbage_ = 0;
    end_ = block_.records_begin();
    store_head(offsetof(Head, moves), block_.head(offsetof(Head, moves)) + 1);
    return keep_from(block_, block_.records_begin(), end);
}

bool Writer::take_over(const Writer &old) {
    serial_ = old.serial_;
    store_head(offsetof(Head, forgotten), old.block_.head(offsetof(Head, forgotten)));
    store_head(offsetof(Head, reset), old.block_.head(offsetof(Head, reset)));
    store_head(offsetof(Head, moves), old.block_.head(offsetof(Head, moves)) + 1);
    store_head(offsetof(Head, serial), serial_);
    const bool whole = keep_from(old.block_, old.block_.records_begin(), old.end_);
    store_head(offsetof(Head, end), end_);
    return whole;
}

}  // namespace view
