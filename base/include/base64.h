/*
 * Base64 encoding and decoding: the standard alphabet ("+" and "/"), padded with "=", without line ends.
 *
 * Base64 is not encryption: anybody can decode the text. Every function may be called from any thread.
 */
#ifndef QUOR_BASE64_H
#define QUOR_BASE64_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Encodes bytes.
 *
 * data: length bytes; null gives null. A length of 0 gives the empty text.
 * Returns the NUL-terminated text, which the caller frees with os_mem_free, or null without memory.
 */
char *base64_encrypt(const void *data, uint32_t length);

/*
 * Decodes a text.
 *
 * text: length characters; null gives null. A NUL is an invalid character.
 * count: receives the number of bytes; null gives null. Unchanged on failure.
 * Returns the bytes, which the caller frees with os_mem_free: a block of 0 bytes for a length of 0. Returns
 * null if the text differs in any character or bit from what base64_encrypt writes, or without memory.
 */
void *base64_decrypt(const char *text, uint32_t length, uint32_t *count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
