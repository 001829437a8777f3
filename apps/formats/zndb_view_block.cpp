#include "formats/zndb_view_block.h"

#include <algorithm>
#include <cstring>

namespace view {

namespace {

constexpr uint32_t kWord = sizeof(uint32_t);

bool is_power_of_two(uint32_t number) {
    return number != 0 && (number & (number - 1)) == 0;
}

/* The first four characters of a text as they stand in a word. */
uint32_t word_of(std::string_view text) {
    uint32_t word = 0;
    std::memcpy(&word, text.data(), std::min<size_t>(text.size(), kWord));
    return word;
}

/* The bits of a word that its first characters take. */
uint32_t mask_of(size_t characters) {
    uint32_t mask = 0;
    std::memset(&mask, 0xff, std::min<size_t>(characters, kWord));
    return mask;
}

}  // namespace

std::optional<Block> Block::open(const void *bytes, size_t size) {
    if (size < sizeof(Head) + kTailSize || size > INT32_MAX || size % kWord != 0) {
        return std::nullopt;
    }
    const Block head_only(bytes, static_cast<uint32_t>(size), 0);
    const uint32_t chains = head_only.head(offsetof(Head, chains));
    const bool is_block = head_only.is_whole() && head_only.head(offsetof(Head, format)) == kFormat &&
                          head_only.head(offsetof(Head, size)) == size && is_power_of_two(chains) &&
                          chains <= (size - sizeof(Head) - kTailSize) / kWord;
    return is_block ? std::optional(Block(bytes, static_cast<uint32_t>(size), chains)) : std::nullopt;
}

bool Block::is_whole() const {
    return head(offsetof(Head, magic)) == kMagic && load(records_end()) == kMagic;
}

/* FNV-1a. */
uint32_t Block::chain_of(std::string_view key) const {
    uint32_t hash = 2166136261U;
    for (const char character : key) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    }
    return static_cast<uint32_t>(sizeof(Head)) + (hash & (chains_ - 1)) * kWord;
}

uint32_t Block::load(uint32_t offset) const {
    return __atomic_load_n(&words_[offset / kWord], kLoad);
}

bool Block::read(uint32_t offset, Record &record) const {
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
           record.after() <= records_end() && record.kind <= Kind::kDead && record.place <= Place::kDefaults;
}

bool Block::has_prefix(const Record &record, std::string_view text) const {
    if (text.size() > record.key_length) {
        return false;
    }
    for (uint32_t offset = record.key_offset(); !text.empty(); offset += kWord) {
        if ((load(offset) & mask_of(text.size())) != word_of(text)) {
            return false;
        }
        text.remove_prefix(std::min<size_t>(text.size(), kWord));
    }
    return true;
}

void Block::copy_text(uint32_t offset, uint32_t length, char *to) const {
    for (; length >= kWord; length -= kWord, offset += kWord, to += kWord) {
        const uint32_t word = load(offset);
        std::memcpy(to, &word, kWord);
    }
    if (length > 0) {
        const uint32_t word = load(offset);
        std::memcpy(to, &word, length);
    }
}

}  // namespace view
