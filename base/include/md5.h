/*
 * MD5 digests of files, to detect whether a file has changed.
 *
 * MD5 gives no security: files with equal digests can be constructed. Every function may be called from any
 * thread, and reads the file in pieces, with constant memory.
 */
#ifndef QUOR_MD5_H
#define QUOR_MD5_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define MD5_DIGEST_SIZE 16 /* bytes */
#define MD5_TEXT_SIZE 33   /* bytes of a digest as text, including the NUL */

/*
 * Computes the digest of a file's bytes.
 *
 * path: a regular file or a link to one; null gives 0.
 * digest: receives the 16 bytes; null gives 0. Unchanged on failure.
 * Returns 1, or 0 if the file can't be read to its end.
 */
int32_t md5_encrypt_file(const char *path, uint8_t digest[MD5_DIGEST_SIZE]);

/*
 * Computes the digest of a file's bytes as text.
 *
 * path: a regular file or a link to one; null counts as a file that can't be read.
 * text: at least MD5_TEXT_SIZE bytes; receives 32 lower-case hexadecimal digits and the NUL, or the
 * empty text if the file can't be read to its end. Null gives 0.
 * Returns 1, or 0 if the text is empty.
 */
int32_t md5_encrypt_file_str(const char *path, char *text);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
