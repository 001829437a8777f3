/*
 * A memory family of its own in the place of the base library's, as a device's maker might bring. Linked
 * into a program, or loaded before the base library.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os_mem.h"

static uint32_t g_blocks_live;
static uint32_t g_blocks_ever;

void *os_mem_malloc(size_t size) {
    fputs("own os_mem_malloc\n", stderr);
    __atomic_add_fetch(&g_blocks_live, 1, __ATOMIC_SEQ_CST);
    __atomic_add_fetch(&g_blocks_ever, 1, __ATOMIC_SEQ_CST);
    return calloc(1, size);
}

char *os_mem_strdup(const char *text) {
    char *copy = text != NULL ? os_mem_malloc(strlen(text) + 1) : NULL;
    return copy != NULL ? strcpy(copy, text) : NULL;
}

void os_mem_free(void *block) {
    if (block == NULL) {
        return;
    }
    fputs("own os_mem_free\n", stderr);
    free(block);
    __atomic_sub_fetch(&g_blocks_live, 1, __ATOMIC_SEQ_CST);
}

void os_mem_usage(os_mem_usage_t *usage) {
    memset(usage, 0, sizeof(*usage));
    usage->live_blocks = __atomic_load_n(&g_blocks_live, __ATOMIC_SEQ_CST);
    usage->total_blocks = __atomic_load_n(&g_blocks_ever, __ATOMIC_SEQ_CST);
}
