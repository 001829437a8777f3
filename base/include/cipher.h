/*
 * The device cipher: secrets as text, and whole files, that only a device with the same key can read, and
 * that nobody can alter unnoticed.
 *
 * The key is the 32 bytes of "/etc/quor_product.key", which comes with the product's image and is the same
 * on all devices of a kind. Without that file it is "/m_data/usr_permanent/device.key", made of random bytes
 * at the first use, its folder too when that is missing; a warning then says that backups stay on this
 * device. A key file that can't be read or has another size is refused with a warning: it is neither mended
 * nor passed over.
 *
 * Every function may be called from any thread and reads the key file at each call. The first use of a
 * device may wait for the kernel to gather randomness. Each call asks the kernel for a random byte first;
 * where it gives none, there is no key, with a warning. libsodium, below, ends the process where the kernel
 * gives none a moment later; no running kernel stops giving them once it has begun.
 */
#ifndef QUOR_CIPHER_H
#define QUOR_CIPHER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Enciphers bytes.
 *
 * data: length bytes; null gives null. A length of 0 is a secret like any other.
 * Returns the base64 text of 40 + length bytes, with its NUL, which the caller frees with os_mem_free. No
 * two calls give the same text. Null when there is no key or no such block.
 */
char *zn_encrypt_data(const void *data, uint32_t length);

/*
 * Deciphers what zn_encrypt_data wrote.
 *
 * text: length characters; null gives null.
 * count: receives the number of bytes; null gives null. Unchanged on failure.
 * Returns the bytes, which the caller wipes and frees with os_mem_free. Null when the text was altered, cut
 * or made with another key, or when there is no key or no such block.
 */
void *zn_decrypt_data(const char *text, uint32_t length, uint32_t *count);

/*
 * Enciphers a file in place.
 *
 * At every moment, a power cut or a kill included, the file is the old or the new one as a whole: the new one
 * is written beside it as "cipher.unfinished.XXXXXX", readable by its owner only, and takes its place when it
 * is on the disk. So the folder must be writable and have room for both. It takes little more than 128 KiB of
 * memory, whatever the size. Owner and access rights are kept; where the caller may not give the file to its
 * owner, it becomes the caller's alone. Other hard links to the file keep the old content.
 *
 * path: of a regular file, or a symbolic link to one, which stays a link; null gives 0. Nobody else may write
 * to the file meanwhile. All is done in the folder that was found when the call began, and a link that took
 * the file's name since is not followed; but whoever may write in that folder decides what is there
 * afterwards. Returns 1. Returns 0 when there is no key, or a step failed, which is logged; then the file is
 * as it was and nothing stays beside it.
 */
int32_t zn_encrypt_file_ex(const char *path);

/*
 * Deciphers in place a file that zn_encrypt_file_ex wrote. All said there holds here.
 *
 * The file is replaced only when its last byte has proved right. Until then what was read of it lies beside
 * it, where only its owner can read it.
 * Returns 1. Returns 0, which is logged, also when the file was altered, cut, extended or made with another
 * key, or is not enciphered.
 */
int32_t zn_decrypt_file_ex(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
