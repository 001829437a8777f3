/*
 * Tracked memory: every block is counted, and there are limits for one block and for all together.
 *
 * There is no pool: the three pool settings are only recorded and logged; the blocks come from the C library.
 * Every function may be called from any thread.
 */
#ifndef QUOR_OS_MEM_H
#define QUOR_OS_MEM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The largest single block, in bytes, so that a length from outside the process can't exhaust the memory. */
#define OS_MEM_BLOCK_MAX (64u << 20)

/* A module's memory settings, as its row of the module table gives them. */
typedef struct os_mem_settings {
    uint32_t warn_at; /* bytes; one warning when the live bytes first exceed it, 0 = never */
    uint32_t
        refuse_at; /* bytes; a block with which the live bytes would exceed it is refused, 0 = no limit */
    uint8_t pool;  /* 1 = the module was designed for a pool; recorded only */
    uint32_t pool_block; /* bytes of a pool block; recorded only */
    uint32_t pool_total; /* bytes of the pool; recorded only */
} os_mem_settings;

/* The memory use of a process, as sent in the answer to a memory query: 24 bytes. */
typedef struct os_mem_usage_t {
    uint32_t live_bytes;   /* bytes allocated now */
    uint32_t peak_bytes;   /* maximum of live_bytes */
    uint32_t live_blocks;  /* blocks allocated now */
    uint32_t total_blocks; /* blocks allocated since the start */
    uint32_t refused;      /* requests refused because of size, limit or lack of memory */
    uint32_t warn_at;      /* the setting */
} os_mem_usage_t;

/*
 * Applies a module's memory settings; blocks allocated earlier stay counted.
 *
 * settings: copied; null means no limits.
 */
void os_mem_init(const os_mem_settings *settings);

/*
 * Allocates a block of zeros. Pages of a large block use no memory until they are written.
 *
 * size: bytes; 0 gives a block that may not be written to.
 * Returns the block, which the caller frees with os_mem_free, or null with errno ENOMEM if size is
 * above OS_MEM_BLOCK_MAX, the process is at its limit, or there is no memory.
 */
void *os_mem_malloc(size_t size);

/*
 * Turns the zero fill of the calling thread's blocks off and on. Without it a block of more than 1 KiB has
 * undefined content. For callers that overwrite the complete block.
 *
 * on: 0 = off, else on, which is the default. Returns the previous setting, 0 or 1.
 */
int32_t os_mem_zeroing(int32_t on);

/*
 * Copies a text into a new block.
 *
 * text: NUL-terminated; null gives null.
 * Returns the copy, which the caller frees with os_mem_free, or null as os_mem_malloc does.
 */
char *os_mem_strdup(const char *text);

/*
 * Frees a block.
 *
 * block: from os_mem_malloc or os_mem_strdup; null does nothing.
 */
void os_mem_free(void *block);

/*
 * Reports the memory use of the process.
 *
 * usage: receives all six words.
 */
void os_mem_usage(os_mem_usage_t *usage);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
