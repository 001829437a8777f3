/*
 * Bytes as base64 text, and back: the standard alphabet ("+" and "/"), padded with "=", without line ends.
 *
 * Not a protection: whoever sees the text can read it. Every function may be called from any thread.
 */
#ifndef QUOR_BASE64_H
#define QUOR_BASE64_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Writes bytes as text.
 *
 * data: length bytes; null gives null. A length of 0 gives the empty text.
 * Returns the text with its NUL, which the caller frees with os_mem_free, or null when there is no such
 * block.
 */
char *base64_encrypt(const void *data, uint32_t length);

/*
 * Reads bytes from text.
 *
 * text: length characters; null gives null. A NUL is a character like any other, and none of base64.
 * count: receives the number of bytes; null gives null. Unchanged on failure.
 * Returns the bytes, which the caller frees with os_mem_free: a block of 0 bytes for a length of 0. Null when
 * the text is not what base64_encrypt writes, to the last character and bit, or there is no such block.
 */
void *base64_decrypt(const char *text, uint32_t length, uint32_t *count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
