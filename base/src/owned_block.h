/*
 * The owner of a tracked block of bytes.
 */
#pragma once

#include <memory>

#include "os_mem.h"

struct FreeBlock {
    void operator()(void *block) const { os_mem_free(block); }
};

using OwnedBlock = std::unique_ptr<unsigned char, FreeBlock>;

/* Owns size bytes of zeros, or nothing when there is no such block. */
inline OwnedBlock make_block(size_t size) {
    return OwnedBlock(static_cast<unsigned char *>(os_mem_malloc(size)));
}
