/*
 * Allocates tracked blocks of zeros, even if the base library's allocator doesn't zero them.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "internal/plain_block.h"

/* Larger blocks may have pages that the kernel has not allocated yet; reading such a page doesn't allocate
 * it. */
inline constexpr size_t kClearedUnseen = 128u << 10;

/* The size of the pieces of a large block that are checked before they are cleared. */
inline constexpr size_t kClearedPiece = 4096;

/* Clears bytes, but does not write them if they are already zero. size: 1 or more. */
inline void clear_used(unsigned char *bytes, size_t size) {
    const bool zero = bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0;
    if (!zero) {
        std::memset(bytes, 0, size);
    }
}

/* As os_mem_malloc, but all bytes are zero. Unused pages of a large block stay unallocated. */
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
