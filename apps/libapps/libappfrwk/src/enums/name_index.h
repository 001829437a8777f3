/*
 * An index of a name table, built by the compiler: it finds the row of a value and the row of a name in
 * constant time. It says which row it is; the base library goes on deciding what that row, or a miss, gives.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "enum_name.h"

namespace name_index {

/* Rows are searched from their hash on, up to the first empty slot. At least a third of the slots are empty.
 */
template <size_t kRows>
struct Index {
    static constexpr uint32_t slots() {
        uint32_t count = 1;
        while (count < kRows + kRows / 2) {
            count *= 2;
        }
        return count;
    }

    static constexpr uint16_t kEmpty = UINT16_MAX;
    static_assert(kRows < kEmpty);

    std::array<uint16_t, slots()> by_value{};
    std::array<uint16_t, slots()> by_name{};
};

constexpr uint32_t kSpread = 0x9E3779B1U; /* 2^32 divided by the golden ratio */

/* The lowest bits choose the slot, but a product's highest bits are the best spread. */
constexpr uint32_t mixed(uint32_t word) {
    const uint32_t product = word * kSpread;
    return product ^ product >> 16;
}

constexpr uint32_t hash_of_value(int32_t value) {
    return mixed(static_cast<uint32_t>(value));
}

/* Four characters, the first one lowest, so that every processor and the compiler agree. */
constexpr uint32_t word_at(const char *text) {
    uint32_t word = 0;
    for (uint32_t place = 4; place > 0; --place) {
        word = word << 8 | static_cast<unsigned char>(text[place - 1]);
    }
    return word;
}

constexpr uint32_t hash_of_name(std::string_view name) {
    uint32_t hash = static_cast<uint32_t>(name.size());
    size_t done = 0;
    for (; name.size() - done >= 4; done += 4) {
        hash = (hash ^ word_at(name.data() + done)) * kSpread;
    }
    for (; done < name.size(); ++done) {
        hash = (hash ^ static_cast<unsigned char>(name[done])) * kSpread;
    }
    return mixed(hash);
}

template <size_t kSlots>
constexpr void put(std::array<uint16_t, kSlots> &slots, uint32_t hash, size_t row) {
    size_t slot = hash % kSlots;
    while (slots[slot] != UINT16_MAX) {
        slot = (slot + 1) % kSlots;
    }
    slots[slot] = static_cast<uint16_t>(row);
}

/* Equal values and equal names are found in the order of the table. */
template <size_t kRows>
constexpr Index<kRows> make(const zn_enum_item (&table)[kRows]) {
    Index<kRows> index;
    for (size_t slot = 0; slot < index.slots(); ++slot) {
        index.by_value[slot] = index.kEmpty;
        index.by_name[slot] = index.kEmpty;
    }
    for (size_t row = 0; row < kRows; ++row) {
        put(index.by_value, hash_of_value(table[row].value), row);
        put(index.by_name, hash_of_name(table[row].name), row);
    }
    return index;
}

/* The first row, from the hash's slot on, that is the one wanted; null if the table has none. */
template <size_t kRows, size_t kSlots, typename Wanted>
const zn_enum_item *search(const zn_enum_item (&table)[kRows], const std::array<uint16_t, kSlots> &slots,
                           uint32_t hash, Wanted wanted) {
    for (size_t slot = hash % kSlots; slots[slot] != UINT16_MAX; slot = (slot + 1) % kSlots) {
        if (wanted(table[slots[slot]])) {
            return &table[slots[slot]];
        }
    }
    return nullptr;
}

template <size_t kRows>
const char *name_of(const zn_enum_item (&table)[kRows], const Index<kRows> &index, int32_t value) {
    const zn_enum_item *row = search(table, index.by_value, hash_of_value(value),
                                     [value](const zn_enum_item &each) { return each.value == value; });
    return zn_enum_to_string(row != nullptr ? row : table, row != nullptr ? 1 : 0, value);
}

template <size_t kRows>
int32_t value_of(const zn_enum_item (&table)[kRows], const Index<kRows> &index, const char *name) {
    if (name == nullptr) {
        return zn_string_to_enum(table, 0, nullptr);
    }
    const std::string_view wanted(name);
    const zn_enum_item *row = search(table, index.by_name, hash_of_name(wanted),
                                     [wanted](const zn_enum_item &each) { return wanted == each.name; });
    return zn_string_to_enum(row != nullptr ? row : table, row != nullptr ? 1 : 0, name);
}

}  // namespace name_index
