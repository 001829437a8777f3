/*
 * Allocates tracked blocks without zeroing them, for callers that overwrite the complete block.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "internal/optional_calls.h"
#include "os_mem.h"

/* As os_mem_malloc, but the block need not be zeroed. */
inline void *plain_block(size_t size) {
    if (os_mem_zeroing == nullptr) {
        return os_mem_malloc(size);
    }
    const int32_t before = os_mem_zeroing(0);
    void *block = os_mem_malloc(size);
    (void)os_mem_zeroing(before);
    return block;
}
