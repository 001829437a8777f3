/*
 * The device cipher encrypts secrets as text and files in place. Only a device with the same key can decrypt
 * them, and nobody can alter them unnoticed.
 *
 * The key is the 32 bytes of "/etc/quor_product.key", which is part of the product's image and the same
 * on all devices of a kind. Without that file it is "/m_data/usr_permanent/device.key": random bytes that are
 * generated at the first use; a missing folder is created too. A warning then says that backups can only be
 * restored on this device. A key file that can't be read or has another size is refused with a warning: it is
 * neither repaired nor ignored.
 *
 * Every function may be called from any thread and reads the key file at each call. The first use after boot
 * may wait for the kernel to collect entropy. Each call first asks the kernel for a random byte; without
 * one it fails with a warning. libsodium would end the process if the kernel provided no random bytes; a
 * running kernel that has provided one never stops.
 */
#ifndef QUOR_CIPHER_H
#define QUOR_CIPHER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Encrypts bytes.
 *
 * data: length bytes; null gives null. A length of 0 is allowed.
 * Returns the NUL-terminated base64 text of 40 + length bytes, which the caller frees with os_mem_free. Each
 * call returns a different text. Returns null without a key or memory.
 */
char *zn_encrypt_data(const void *data, uint32_t length);

/*
 * Decrypts a text of zn_encrypt_data.
 *
 * text: length characters; null gives null.
 * count: receives the number of bytes; null gives null. Unchanged on failure.
 * Returns the bytes, which the caller wipes and frees with os_mem_free. Returns null if the text was altered,
 * truncated or encrypted with another key, or without a key or memory.
 */
void *zn_decrypt_data(const char *text, uint32_t length, uint32_t *count);

/*
 * Encrypts a file in place.
 *
 * The replacement is atomic, also for a power cut or a kill: the new file is written to the same folder as
 * "cipher.unfinished.XXXXXX", readable by its owner only, synced and renamed. So the folder must be writable
 * and have space for both files. The call needs little more than 128 KiB of memory, whatever the size. Owner
 * and permissions are kept; if the caller may not change the owner, the file becomes the caller's, without
 * access for anybody else. Other hard links to the file keep the old content.
 *
 * path: a regular file, or a symbolic link to one, which stays a link; null gives 0. Nobody else may write
 * to the file meanwhile. The call works in the folder that it found at its beginning, and does not follow a
 * link that has taken the file's name since then; but whoever may write to that folder can replace the file
 * afterwards.
 * Returns 1. Returns 0 without a key, or if a step failed, which is logged; the file is then unchanged and
 * the unfinished file is removed.
 */
int32_t zn_encrypt_file_ex(const char *path);

/*
 * Decrypts in place a file that zn_encrypt_file_ex wrote. Everything said there applies.
 *
 * The file is replaced only after its last byte was authenticated. Until then the decrypted part is in the
 * unfinished file, which only its owner can read.
 * Returns 1. Returns 0, which is logged, also if the file was altered, truncated, extended or encrypted with
 * another key, or is not encrypted.
 */
int32_t zn_decrypt_file_ex(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
