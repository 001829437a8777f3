#include "formats/zndb_view_reader.h"

namespace view {

namespace {

/* A change takes the service far less time than so many attempts, unless it has no processor meanwhile. */
constexpr int kAttempts = 200;

/* So many records are read before it is checked that they were not moved meanwhile. */
constexpr int kRecordsAtOnce = 64;

/* Where a get looks: lower counts first. */
constexpr uint32_t kNowhere = 4;

uint32_t rank_of(StoreId store, Place place) {
    if (place == place_of(store)) {
        return 0;
    }
    const bool falls_back = store == StoreId::kPlain && place != Place::kPerm;
    return falls_back ? static_cast<uint32_t>(place) : kNowhere;
}

bool is_watched(Place place) {
    return place == Place::kPlain || place == Place::kPerm;
}

}  // namespace

uint32_t Reader::begin() const {
    return __atomic_load_n(block_.word(offsetof(Head, sequence)), __ATOMIC_ACQUIRE);
}

bool Reader::is_unchanged(uint32_t sequence) const {
    order_loads();
    return block_.head(offsetof(Head, sequence)) == sequence && block_.is_whole();
}

Found Reader::copy_value(const Record &record, char *value, uint32_t size) const {
    if (record.value_length >= size) {
        return Found::kTooLong;
    }
    block_.copy_text(record.value_offset(), record.value_length, value);
    value[record.value_length] = '\0';
    return Found::kYes;
}

Found Reader::look_up(StoreId store, std::string_view key, char *value, uint32_t size) const {
    Record best = {};
    uint32_t best_rank = kNowhere;
    uint32_t left = block_.most_records();
    for (uint32_t offset = block_.load(block_.chain_of(key)); offset != 0;) {
        Record record;
        if (left-- == 0 || !block_.read(offset, record)) {
            return Found::kDamaged;
        }
        const uint32_t rank = rank_of(store, record.place);
        if (record.kind == Kind::kValue && rank < best_rank && block_.has_key(record, key)) {
            best = record;
            best_rank = rank;
        }
        if (best_rank == 0) {
            break;
        }
        offset = record.next;
    }
    return best_rank == kNowhere ? Found::kNo : copy_value(best, value, size);
}

Found Reader::get(StoreId store, std::string_view key, char *value, uint32_t size) const {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const uint32_t sequence = begin();
        if (!is_even(sequence)) {
            continue;
        }
        const Found found = look_up(store, key, value, size);
        if (is_unchanged(sequence)) {
            return found;
        }
    }
    return Found::kBusy;
}

Position Reader::now() const {
    return {serial(), block_.head(offsetof(Head, reset)), block_.head(offsetof(Head, moves)),
            block_.head(offsetof(Head, end))};
}

bool Reader::start(Position &position) const {
    const uint32_t sequence = begin();
    const Position here = now();
    if (!is_even(sequence) || !is_unchanged(sequence)) {
        return false;
    }
    position = here;
    return true;
}

Next Reader::tell(const Record &record, Change &change) const {
    change.place = record.place;
    block_.copy_text(record.key_offset(), record.key_length, change.key);
    change.key[record.key_length] = '\0';
    if (record.kind == Kind::kDeleted) {
        return Next::kDeleted;
    }
    (void)copy_value(record, change.value, sizeof(change.value));
    return Next::kSet;
}

/* Reads the records after a position until one is to be told. kBusy: none of these, but there are more. */
Next Reader::read_on(std::string_view prefix, Position &position, Change &change) const {
    const uint32_t end = block_.head(offsetof(Head, end));
    for (int read = 0; position.offset != end; ++read) {
        Record record;
        if (read == kRecordsAtOnce) {
            return Next::kBusy;
        }
        if (position.offset > end || !block_.read(position.offset, record)) {
            return Next::kDamaged;
        }
        position.offset = record.after();
        if (record.kind != Kind::kDead && is_watched(record.place) &&
            is_later(record.serial, position.seen) && block_.has_prefix(record, prefix)) {
            position.seen = record.serial;
            return tell(record, change);
        }
    }
    position.seen = serial();
    return Next::kNothing;
}

Next Reader::look_on(std::string_view prefix, Position &position, Change &change) const {
    if (is_later(block_.head(offsetof(Head, forgotten)), position.seen)) {
        position = now();
        return Next::kMissed;
    }
    const uint32_t reset = block_.head(offsetof(Head, reset));
    if (is_later(reset, position.reset)) {
        position.reset = reset;
        return Next::kReset;
    }
    const uint32_t moves = block_.head(offsetof(Head, moves));
    if (position.moves != moves) {
        position.moves = moves;
        position.offset = block_.records_begin();
    }
    return read_on(prefix, position, change);
}

Next Reader::next(std::string_view prefix, Position &position, Change &change) const {
    for (int attempt = 0; attempt < kAttempts;) {
        const uint32_t sequence = begin();
        Position here = position;
        const Next found = is_even(sequence) ? look_on(prefix, here, change) : Next::kBusy;
        if (!is_even(sequence) || !is_unchanged(sequence)) {
            ++attempt;
            continue;
        }
        position = here;
        if (found != Next::kBusy) {
            return found;
        }
    }
    return Next::kBusy;
}

}  // namespace view
