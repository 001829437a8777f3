/*
 * Memory as a maker's allocator might hand it out: none before its settings came, never zeroed, and watched
 * by the settings where they lie with the caller.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os_mem.h"

/* In front of each block; two of them keep its alignment. */
struct header {
    size_t size;
    size_t unused;
};

static const os_mem_settings no_settings;
static const os_mem_settings *settings;
static os_mem_usage_t usage;

void os_mem_init(const os_mem_settings *given) {
    settings = given != NULL ? given : &no_settings;
}

static void *refuse(void) {
    __atomic_add_fetch(&usage.refused, 1, __ATOMIC_SEQ_CST);
    return NULL;
}

static void count(size_t size) {
    const uint32_t live = __atomic_add_fetch(&usage.live_bytes, (uint32_t)size, __ATOMIC_SEQ_CST);
    if (live > __atomic_load_n(&usage.peak_bytes, __ATOMIC_SEQ_CST)) {
        __atomic_store_n(&usage.peak_bytes, live, __ATOMIC_SEQ_CST);
    }
    __atomic_add_fetch(&usage.live_blocks, 1, __ATOMIC_SEQ_CST);
    __atomic_add_fetch(&usage.total_blocks, 1, __ATOMIC_SEQ_CST);
}

void *os_mem_malloc(size_t size) {
    if (settings == NULL) {
        fputs("second base: os_mem_malloc before os_mem_init\n", stderr);
        return refuse();
    }
    if (size > OS_MEM_BLOCK_MAX ||
        (settings->refuse_at != 0 && usage.live_bytes + size > settings->refuse_at)) {
        return refuse();
    }
    struct header *header = malloc(sizeof(*header) + size);
    if (header == NULL) {
        return refuse();
    }
    header->size = size;
    count(size);
    return memset(header + 1, 0xA5, size);
}

char *os_mem_strdup(const char *text) {
    char *copy = os_mem_malloc(strlen(text) + 1);
    return copy != NULL ? strcpy(copy, text) : NULL;
}

void os_mem_free(void *block) {
    struct header *header = (struct header *)block - 1;
    __atomic_sub_fetch(&usage.live_bytes, (uint32_t)header->size, __ATOMIC_SEQ_CST);
    __atomic_sub_fetch(&usage.live_blocks, 1, __ATOMIC_SEQ_CST);
    free(header);
}

void os_mem_usage(os_mem_usage_t *filled) {
    *filled = usage;
    filled->warn_at = settings != NULL ? settings->warn_at : 0;
}
