/*
 * A tracked block of zeros, whatever the base library's allocator leaves in it.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "internal/plain_block.h"

/* Larger blocks may have pages that the system has not given yet; reading such a page doesn't make it give
 * one. */
inline constexpr size_t kClearedUnseen = 128u << 10;

/* How much of a large block is looked at before it is cleared. */
inline constexpr size_t kClearedPiece = 4096;

/* Clears bytes, and writes nothing where they are zero already. size: 1 or more. */
inline void clear_used(unsigned char *bytes, size_t size) {
    const bool zero = bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0;
    if (!zero) {
        std::memset(bytes, 0, size);
    }
}

/* As os_mem_malloc, but all bytes are zero. A large block costs no memory where the allocator got it so. */
inline void *zeroed_block(size_t size) {
    if (size <= kClearedUnseen) {
        void *block = plain_block(size);
        return block != nullptr ? std::memset(block, 0, size) : nullptr;
    }
    auto *block = static_cast<unsigned char *>(os_mem_malloc(size));
    for (size_t at = 0; block != nullptr && at < size; at += kClearedPiece) {
        clear_used(block + at, std::min(kClearedPiece, size - at));
    }
    return block;
}
