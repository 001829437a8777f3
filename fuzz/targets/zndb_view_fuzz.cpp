/*
 * Fuzzes the readers of the database's view: whatever the block contains, they end and read nothing outside
 * it.
 *
 * Input: the length of a key, the key, the position (offset and what it belongs to), and the block; its first
 * words are those of a block, so that the rest is read.
 */
#include <vector>

#include "formats/zndb_view_reader.h"
#include "support/fuzz_input.h"

namespace {

constexpr size_t kBlockMax = 1 << 16;

/* The bytes in a block of exactly their size. */
std::vector<uint32_t> words_of(std::string_view bytes) {
    std::vector<uint32_t> words(std::min(bytes.size(), kBlockMax) / sizeof(uint32_t));
    if (!words.empty()) {
        std::memcpy(words.data(), bytes.data(), words.size() * sizeof(uint32_t));
    }
    return words;
}

void get_all(const view::Reader &reader, std::string_view key) {
    for (const StoreId store : kStoreIds) {
        char value[64] = {};
        const view::Found found = reader.get(store, key, value, sizeof(value));
        FUZZ_CHECK(found != view::Found::kYes || ends(value));
    }
}

void watch(const view::Reader &reader, std::string_view prefix, view::Position position) {
    for (int i = 0; i < 1000; ++i) {
        view::Change change;
        switch (reader.next(prefix, position, change)) {
            case view::Next::kSet:
                FUZZ_CHECK(ends(change.value));
                [[fallthrough]];
            case view::Next::kDeleted:
                FUZZ_CHECK(ends(change.key));
                FUZZ_CHECK(std::string_view(change.key).size() < ZNDB_KEY_LEN);
                break;
            case view::Next::kReset:
            case view::Next::kMissed:
                break;
            default:
                return;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const std::string key(input.take(input.byte() % ZNDB_KEY_LEN));
    const view::Position position = {input.byte(), input.byte(), input.byte(), input.byte() * 4U};
    std::vector<uint32_t> words = words_of(input.rest());
    if (words.size() > 3) {
        words[0] = view::kMagic;
        words[1] = view::kFormat;
        words[2] = static_cast<uint32_t>(words.size() * sizeof(uint32_t));
        words.back() = view::kMagic;
    }
    const std::optional<view::Block> block = view::Block::open(words.data(), words.size() * sizeof(uint32_t));
    if (!block) {
        return 0;
    }
    const view::Reader reader(*block);
    get_all(reader, key);
    watch(reader, key, position);
    view::Position now;
    (void)reader.start(now);
    return 0;
}
