/*
 * MD5 digests of files, which tell whether a file is the same as before.
 *
 * Not a protection: files with equal digests can be made on purpose. Every function may be called from any
 * thread, and reads the file piece by piece, in constant memory.
 */
#ifndef QUOR_MD5_H
#define QUOR_MD5_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define MD5_DIGEST_SIZE 16 /* bytes */
#define MD5_TEXT_SIZE 33   /* characters of a digest as text, with the NUL */

/*
 * Computes the digest of a file's bytes.
 *
 * path: a regular file or a link to one; null gives 0.
 * digest: receives the 16 bytes; null gives 0. Unchanged on failure.
 * Returns 1, or 0 when the file can't be read to its end.
 */
int32_t md5_encrypt_file(const char *path, uint8_t digest[MD5_DIGEST_SIZE]);

/*
 * Writes the digest of a file's bytes as text.
 *
 * path: a regular file or a link to one; null is a file that can't be read.
 * text: room for MD5_TEXT_SIZE characters; receives 32 lower-case hexadecimal digits and the NUL, or the
 * empty text when the file can't be read to its end. null gives 0.
 * Returns 1, or 0 when the text is empty.
 */
int32_t md5_encrypt_file_str(const char *path, char *text);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
