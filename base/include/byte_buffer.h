/*
 * A growing byte buffer with room for a NUL after its content, so that the content can be used as a text.
 *
 * Its memory is tracked, and a buffer is at most as large as one block (OS_MEM_BLOCK_MAX). Any thread may
 * call these functions, one at a time for the same buffer.
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
    char *data;        /* owned; null without capacity; zn_bf_grow sets the byte after the content to 0 */
    uint32_t length;   /* bytes of content, set by the writer */
    uint32_t capacity; /* maximum bytes of content, without the room for the NUL */
} zn_bf_t;

/*
 * Initialises an empty buffer.
 *
 * buf: overwritten. size: initial capacity in bytes; 0 takes no memory.
 * Returns 1; or 0 if buf is null or without memory, and the buffer is then empty.
 */
int32_t zn_bf_init(zn_bf_t *buf, uint32_t size);

/*
 * Makes room for size bytes of content and a NUL after them. Keeps the present content; the bytes after it
 * are 0. Does nothing if there is enough room.
 *
 * size: bytes; 0 makes room only for the NUL.
 * Returns 1; or 0 if buf is null or without memory, and the buffer is then unchanged.
 */
int32_t zn_bf_grow(zn_bf_t *buf, uint32_t size);

/* Frees the memory and leaves an empty buffer. buf: null does nothing. */
void zn_bf_free(zn_bf_t *buf);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
