/*
 * The tracked memory of this process.
 */
#pragma once

#include "os_mem.h"

inline os_mem_usage_t memory_usage() {
    os_mem_usage_t usage;
    os_mem_usage(&usage);
    return usage;
}

inline uint32_t live_blocks() {
    return memory_usage().live_blocks;
}
