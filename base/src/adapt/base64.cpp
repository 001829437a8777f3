/*
 * Base64 with libsodium, whose conversions take constant time for a given length, since the texts may contain
 * secrets.
 */
#include "base64.h"

#include <sodium.h>

#include <cstddef>

#include "support/owned_block.h"

namespace {

constexpr int kVariant = sodium_base64_VARIANT_ORIGINAL;

/* Four characters encode three bytes. */
constexpr uint32_t kGroupText = 4;
constexpr uint32_t kGroupBytes = 3;

/* If char is signed, the library accepts characters above 127. Checks all characters, for constant time. */
bool is_ascii(const char *text, uint32_t length) {
    unsigned bits = 0;
    for (uint32_t i = 0; i < length; ++i) {
        bits |= static_cast<unsigned char>(text[i]);
    }
    return bits < 0x80;
}

}  // namespace

char *base64_encrypt(const void *data, uint32_t length) {
    if (data == nullptr || length > OS_MEM_BLOCK_MAX) {
        return nullptr;
    }
    const size_t size = sodium_base64_encoded_len(length, kVariant);
    OwnedBlock text = make_block(size);
    if (!text) {
        return nullptr;
    }

    char *to = static_cast<char *>(text.take());
    return sodium_bin2base64(to, size, static_cast<const unsigned char *>(data), length, kVariant);
}

void *base64_decrypt(const char *text, uint32_t length, uint32_t *count) {
    if (text == nullptr || count == nullptr || length % kGroupText != 0) {
        return nullptr;
    }
    const size_t room = size_t{length} / kGroupText * kGroupBytes;
    OwnedBlock data = make_block(room);
    if (!data || !is_ascii(text, length)) {
        return nullptr;
    }

    size_t size = 0;
    if (sodium_base642bin(bytes_of(data), room, text, length, nullptr, &size, nullptr, kVariant) != 0) {
        sodium_memzero(data.get(), room);
        return nullptr;
    }
    *count = static_cast<uint32_t>(size);
    return data.take();
}
