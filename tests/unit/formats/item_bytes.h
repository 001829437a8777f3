/*
 * The bytes of batches and lists, put together by hand.
 */
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

inline std::string word(uint32_t number) {
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &number, 4);
    return bytes;
}

/* kind: 0 set, 1 delete, 2 expect, 3 expect missing. store: 0 plain, 1 perm, 2 factory. */
inline std::string item_bytes(int kind, int store, const std::string &key, const std::string &value) {
    const char head[] = {static_cast<char>(kind), static_cast<char>(store), static_cast<char>(key.size()), 0};
    return std::string(head, 4) + word(static_cast<uint32_t>(value.size())) + key + value;
}
