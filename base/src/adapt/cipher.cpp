/*
 * Encrypts values with libsodium's XChaCha20-Poly1305. The text is the base64 form of a random nonce, the
 * encrypted bytes and their authentication tag. The nonces are long enough that random ones never repeat.
 */
#include "cipher.h"

#include <sodium.h>

#include <cstddef>

#include "base64.h"
#include "device_key.h"
#include "sodium_ready.h"
#include "support/owned_block.h"

namespace {

constexpr uint32_t kNonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr uint32_t kSealSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr uint32_t kOverhead = kNonceSize + kSealSize;

static_assert(device_key::kKeySize == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);

/* sealed: room for length and the overhead. */
void seal(unsigned char *sealed, const void *data, uint32_t length, const device_key::Key &key) {
    randombytes_buf(sealed, kNonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(sealed + kNonceSize, nullptr,
                                               static_cast<const unsigned char *>(data), length, nullptr, 0,
                                               nullptr, sealed, key.bytes);
}

/* data: room for size less the overhead; zeroed if the authentication fails. */
bool open_seal(unsigned char *data, const unsigned char *sealed, uint32_t size, const device_key::Key &key) {
    return crypto_aead_xchacha20poly1305_ietf_decrypt(data, nullptr, nullptr, sealed + kNonceSize,
                                                      size - kNonceSize, nullptr, 0, sealed, key.bytes) == 0;
}

OwnedBlock read_text(const char *text, uint32_t length, uint32_t *size) {
    return OwnedBlock(base64_decrypt(text, length, size));
}

}  // namespace

char *zn_encrypt_data(const void *data, uint32_t length) {
    if (data == nullptr || length > OS_MEM_BLOCK_MAX - kOverhead) {
        return nullptr;
    }
    const OwnedBlock sealed = make_block(size_t{length} + kOverhead);
    device_key::Key key;
    if (!sealed || !device_key::derive(device_key::kForValues, &key)) {
        return nullptr;
    }

    seal(bytes_of(sealed), data, length, key);
    return base64_encrypt(sealed.get(), length + kOverhead);
}

void *zn_decrypt_data(const char *text, uint32_t length, uint32_t *count) {
    uint32_t size = 0;
    const OwnedBlock sealed = read_text(text, length, &size);
    if (!sealed || count == nullptr || size < kOverhead) {
        return nullptr;
    }
    OwnedBlock data = make_block(size - kOverhead);
    device_key::Key key;
    if (!data || !device_key::derive(device_key::kForValues, &key) ||
        !open_seal(bytes_of(data), bytes_of(sealed), size, key)) {
        return nullptr;
    }

    *count = size - kOverhead;
    return data.take();
}
