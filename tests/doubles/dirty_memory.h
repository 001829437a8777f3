/*
 * Simulates an allocator that doesn't zero blocks. Link doubles_base.
 */
#pragma once

#include <cstring>

#include "doubles/base_doubles.h"

/* Fills every new block of the code under test with 0xA5, until restore_all. */
inline void hand_out_dirty_blocks() {
    doubles::base::os_mem_malloc.stand_in([](size_t size) {
        void *block = doubles::base::os_mem_malloc.real(size);
        return block != nullptr ? std::memset(block, 0xA5, size) : nullptr;
    });
}
