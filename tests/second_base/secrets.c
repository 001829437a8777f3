/*
 * Digests, base64 and the cipher. The cipher's key is built in, and a file is encrypted and decrypted
 * whole, in its place: another form than our own base library's.
 */
#include <sodium.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include "base64.h"
#include "cipher.h"
#include "md5.h"
#include "os_mem.h"
#include LIBMD_HEADER

static const unsigned char key[crypto_secretbox_KEYBYTES] = "a key that this library brings ";

enum {
    OVERHEAD = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES,
    BASE64 = sodium_base64_VARIANT_ORIGINAL
};

/* out: OVERHEAD more bytes than there are. */
static void seal(const unsigned char *bytes, size_t length, unsigned char *out) {
    randombytes_buf(out, crypto_secretbox_NONCEBYTES);
    crypto_secretbox_easy(out + crypto_secretbox_NONCEBYTES, bytes, length, out, key);
}

static int unseal(const unsigned char *sealed, size_t length, unsigned char *out) {
    return length >= OVERHEAD &&
           crypto_secretbox_open_easy(out, sealed + crypto_secretbox_NONCEBYTES,
                                      length - crypto_secretbox_NONCEBYTES, sealed, key) == 0;
}

char *base64_encrypt(const void *data, uint32_t length) {
    const size_t size = sodium_base64_encoded_len(length, BASE64);
    char *text = os_mem_malloc(size);
    return text != NULL ? sodium_bin2base64(text, size, data, length, BASE64) : NULL;
}

void *base64_decrypt(const char *text, uint32_t length, uint32_t *count) {
    size_t size = 0;
    unsigned char *bytes = os_mem_malloc(length);
    if (bytes != NULL && sodium_base642bin(bytes, length, text, length, NULL, &size, NULL, BASE64) != 0) {
        os_mem_free(bytes);
        return NULL;
    }
    *count = (uint32_t)size;
    return bytes;
}

char *zn_encrypt_data(const void *data, uint32_t length) {
    unsigned char *sealed = malloc(length + OVERHEAD);
    char *text = NULL;
    if (sealed != NULL) {
        seal(data, length, sealed);
        text = base64_encrypt(sealed, length + OVERHEAD);
        free(sealed);
    }
    return text;
}

void *zn_decrypt_data(const char *text, uint32_t length, uint32_t *count) {
    uint32_t size = 0;
    unsigned char *sealed = base64_decrypt(text, length, &size);
    unsigned char *bytes = sealed != NULL ? os_mem_malloc(size) : NULL;
    if (bytes != NULL && !unseal(sealed, size, bytes)) {
        os_mem_free(bytes);
        bytes = NULL;
    }
    if (sealed != NULL) {
        os_mem_free(sealed);
    }
    *count = size - OVERHEAD;
    return bytes;
}

/* A file's bytes, which the caller frees; null when they can't be had. */
static unsigned char *read_whole(const char *path, size_t *size) {
    FILE *file = fopen(path, "rb");
    if (file == NULL) {
        return NULL;
    }
    fseek(file, 0, SEEK_END);
    const long end = ftell(file);
    rewind(file);
    unsigned char *bytes = end >= 0 ? malloc((size_t)end + 1) : NULL;
    if (bytes != NULL) {
        *size = fread(bytes, 1, (size_t)end, file);
    }
    fclose(file);
    return bytes;
}

static int write_whole(const char *path, const unsigned char *bytes, size_t size) {
    FILE *file = fopen(path, "wb");
    if (file == NULL) {
        return 0;
    }
    const int written = fwrite(bytes, 1, size, file) == size;
    return fclose(file) == 0 && written;
}

int32_t zn_encrypt_file_ex(const char *path) {
    size_t size = 0;
    unsigned char *bytes = read_whole(path, &size);
    unsigned char *sealed = bytes != NULL ? malloc(size + OVERHEAD) : NULL;
    int done = 0;
    if (sealed != NULL) {
        seal(bytes, size, sealed);
        done = write_whole(path, sealed, size + OVERHEAD);
    }
    free(sealed);
    free(bytes);
    return done;
}

int32_t zn_decrypt_file_ex(const char *path) {
    size_t size = 0;
    unsigned char *sealed = read_whole(path, &size);
    unsigned char *bytes = sealed != NULL ? malloc(size + 1) : NULL;
    const int done =
        bytes != NULL && unseal(sealed, size, bytes) && write_whole(path, bytes, size - OVERHEAD);
    free(bytes);
    free(sealed);
    return done;
}

int32_t md5_encrypt_file(const char *path, uint8_t digest[MD5_DIGEST_SIZE]) {
    char text[MD5_TEXT_SIZE];
    return MD5File(path, text) != NULL &&
           sodium_hex2bin(digest, MD5_DIGEST_SIZE, text, strlen(text), NULL, NULL, NULL) == 0;
}

int32_t md5_encrypt_file_str(const char *path, char *text) {
    text[0] = '\0';
    return MD5File(path, text) != NULL;
}
