/*
 * The owner of a block of tracked memory.
 */
#pragma once

#include "os_mem.h"
#include "support/unique_fd.h"

struct BlockTraits {
    using Handle = void *;
    static constexpr Handle kNone = nullptr;
    static void release(Handle block) { os_mem_free(block); }
};

using OwnedBlock = Owned<BlockTraits>;

/* Allocates size bytes; owns nothing without memory. */
inline OwnedBlock make_block(size_t size) {
    return OwnedBlock(os_mem_malloc(size));
}

inline unsigned char *bytes_of(const OwnedBlock &block) {
    return static_cast<unsigned char *>(block.get());
}
