/*
 * A tracked block for what is about to be overwritten whole, without the time that zeroing it takes.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "os_mem.h"

/* A device's own base library may come without it: then every block is zeroed. */
extern "C" int32_t os_mem_zeroing(int32_t on) __attribute__((weak));

/* As os_mem_malloc, but the block may hold anything. */
inline void *plain_block(size_t size) {
    if (os_mem_zeroing == nullptr) {
        return os_mem_malloc(size);
    }
    const int32_t before = os_mem_zeroing(0);
    void *block = os_mem_malloc(size);
    (void)os_mem_zeroing(before);
    return block;
}
