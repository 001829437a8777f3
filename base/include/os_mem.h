/*
 * Tracked memory: every block taken here is counted, and limits hold for each block and for all of them
 * together.
 *
 * Not a pool: the three pool settings are recorded and logged, the blocks come from the C library.
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

/* The largest single block, in bytes. A length that came from outside the process can't ask for more. */
#define OS_MEM_BLOCK_MAX (64u << 20)

/* A module's memory settings, as its row of the module table gives them. */
typedef struct os_mem_settings {
    uint32_t warn_at;    /* bytes; one warning when the live bytes first pass it, 0 = never */
    uint32_t refuse_at;  /* bytes; a block that would take the live bytes past it is refused, 0 = no limit */
    uint8_t pool;        /* 1 = the module was laid out for a pool; recorded only */
    uint32_t pool_block; /* bytes of a pool block; recorded only */
    uint32_t pool_total; /* bytes of the pool; recorded only */
} os_mem_settings;

/* What a process holds and held, as it travels in the answer to a memory query: 24 bytes. */
typedef struct os_mem_usage_t {
    uint32_t live_bytes;   /* bytes held now */
    uint32_t peak_bytes;   /* most bytes held at once */
    uint32_t live_blocks;  /* blocks held now */
    uint32_t total_blocks; /* blocks ever handed out */
    uint32_t refused;      /* requests refused, for size, limit or lack of memory */
    uint32_t warn_at;      /* the setting */
} os_mem_usage_t;

/*
 * Takes over a module's memory settings; blocks handed out before stay counted.
 *
 * settings: copied; null stands for no limits.
 */
void os_mem_init(const os_mem_settings *settings);

/*
 * Hands out a block of zeros. Pages of a large block cost nothing until they are written.
 *
 * size: bytes; 0 gives a block that may not be written to.
 * Returns the block, which the caller frees with os_mem_free, or null with errno ENOMEM when size is
 * above OS_MEM_BLOCK_MAX, the process is at its limit, or there is no memory.
 */
void *os_mem_malloc(size_t size);

/*
 * Turns the zero fill of the calling thread's blocks off and on again. Without it a block above a KiB may
 * hold anything; for whoever overwrites all of a block, or needs no more than its place.
 *
 * on: 0 = off, else on, as every thread starts. Returns what it was before, 0 or 1.
 */
int32_t os_mem_zeroing(int32_t on);

/*
 * Copies a text into a block of its own.
 *
 * text: NUL-terminated; null gives null.
 * Returns the copy, which the caller frees with os_mem_free, or null as os_mem_malloc does.
 */
char *os_mem_strdup(const char *text);

/*
 * Gives a block back.
 *
 * block: from os_mem_malloc or os_mem_strdup; null does nothing.
 */
void os_mem_free(void *block);

/*
 * Tells what the process holds.
 *
 * usage: filled with all six words.
 */
void os_mem_usage(os_mem_usage_t *usage);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
