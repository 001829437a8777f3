/*
 * A buffer of bytes that grows, with room for a NUL behind them, so that its content can be used as a text.
 *
 * Its memory is tracked, and one buffer is at most as large as one block (OS_MEM_BLOCK_MAX). Any thread may
 * call, one at a time for the same buffer.
 */
#ifndef QUOR_BYTE_BUFFER_H
#define QUOR_BYTE_BUFFER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The members may be read, and the length and the bytes below it written, by the buffer's user. */
typedef struct zn_bf_t {
    char *data;        /* owned; null while there is no room; the byte after the last is 0 after growing */
    uint32_t length;   /* bytes of content, set by who writes them */
    uint32_t capacity; /* bytes that content may take; the room for the NUL is not counted */
} zn_bf_t;

/*
 * Makes an empty buffer.
 *
 * buf: overwritten. size: bytes of room at first; 0 takes no memory.
 * Returns 1; or 0 when buf is null or there is no such block, with an empty buffer then.
 */
int32_t zn_bf_init(zn_bf_t *buf, uint32_t size);

/*
 * Makes room for size bytes of content and a NUL behind them. The content so far is kept; the bytes behind
 * it are 0. Nothing happens where there is room enough.
 *
 * size: bytes; 0 makes room for the NUL alone.
 * Returns 1; or 0 when buf is null or there is no such block, with the buffer as it was.
 */
int32_t zn_bf_grow(zn_bf_t *buf, uint32_t size);

/* Gives the memory back and leaves an empty buffer. buf: null does nothing. */
void zn_bf_free(zn_bf_t *buf);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
