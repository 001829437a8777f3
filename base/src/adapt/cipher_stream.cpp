/*
 * Encrypts with libsodium's secretstream, which detects reordered chunks and truncation.
 *
 * A chunk that is not full is the last one. So a file whose length is a multiple of the chunk size ends with
 * an empty chunk, and each content has exactly one layout.
 */
#include "cipher_stream.h"

#include <sodium.h>

#include <cstddef>
#include <cstring>

#include "support/file_io.h"
#include "support/owned_block.h"

namespace cipher_stream {

namespace {

/* The magic of an encrypted file and the number of its format, little-endian. */
constexpr unsigned char kHead[] = {'q', 'u', 'o', 'r', 'f', 'i', 'l', 'e', 1, 0, 0, 0};

constexpr size_t kSaltSize = crypto_secretstream_xchacha20poly1305_HEADERBYTES;
constexpr size_t kPlainSize = 65536;
constexpr size_t kSealSize = crypto_secretstream_xchacha20poly1305_ABYTES;
constexpr size_t kSealedSize = kPlainSize + kSealSize;

static_assert(device_key::kKeySize == crypto_secretstream_xchacha20poly1305_KEYBYTES);

struct State {
    crypto_secretstream_xchacha20poly1305_state words;

    ~State() { sodium_memzero(&words, sizeof(words)); }
};

/* The part before the chunks. */
struct Beginning {
    unsigned char head[sizeof(kHead)];
    unsigned char salt[kSaltSize];
};

static_assert(sizeof(Beginning) == sizeof(kHead) + kSaltSize);

/* A chunk, unencrypted and encrypted. The destructor wipes the unencrypted bytes. */
struct Chunk {
    const OwnedBlock plain = make_block(kPlainSize);
    const OwnedBlock sealed = make_block(kSealedSize);

    ~Chunk() {
        if (plain) {
            sodium_memzero(plain.get(), kPlainSize);
        }
    }
    explicit operator bool() const { return plain && sealed; }
};

unsigned char tag_of(bool last) {
    return last ? crypto_secretstream_xchacha20poly1305_TAG_FINAL
                : crypto_secretstream_xchacha20poly1305_TAG_MESSAGE;
}

void seal(State *state, const Chunk &chunk, size_t size) {
    crypto_secretstream_xchacha20poly1305_push(&state->words, bytes_of(chunk.sealed), nullptr,
                                               bytes_of(chunk.plain), size, kHead, sizeof(kHead),
                                               tag_of(size < kPlainSize));
}

/* size: size of the encrypted chunk. */
bool open_seal(State *state, const Chunk &chunk, size_t size) {
    unsigned char tag = 0;
    return size >= kSealSize &&
           crypto_secretstream_xchacha20poly1305_pull(&state->words, bytes_of(chunk.plain), nullptr, &tag,
                                                      bytes_of(chunk.sealed), size, kHead,
                                                      sizeof(kHead)) == 0 &&
           tag == tag_of(size < kSealedSize);
}

bool write_beginning(int to, State *state, const device_key::Key &key) {
    Beginning beginning;
    memcpy(beginning.head, kHead, sizeof(kHead));
    crypto_secretstream_xchacha20poly1305_init_push(&state->words, beginning.salt, key.bytes);
    return file_io::write_all(to, &beginning, sizeof(beginning));
}

Result read_beginning(int from, State *state, const device_key::Key &key) {
    Beginning beginning;
    size_t size = 0;
    if (!file_io::read_up_to(from, &beginning, sizeof(beginning), &size)) {
        return Result::kFailed;
    }
    if (size < sizeof(beginning) || memcmp(beginning.head, kHead, sizeof(kHead)) != 0) {
        return Result::kRefused;
    }
    crypto_secretstream_xchacha20poly1305_init_pull(&state->words, beginning.salt, key.bytes);
    return Result::kDone;
}

Result encipher_chunks(int from, int to, State *state, const Chunk &chunk) {
    size_t size = 0;
    do {
        if (!file_io::read_up_to(from, chunk.plain.get(), kPlainSize, &size)) {
            return Result::kFailed;
        }
        seal(state, chunk, size);
        if (!file_io::write_all(to, chunk.sealed.get(), size + kSealSize)) {
            return Result::kFailed;
        }
    } while (size == kPlainSize);
    return Result::kDone;
}

Result decipher_chunks(int from, int to, State *state, const Chunk &chunk) {
    size_t size = 0;
    do {
        if (!file_io::read_up_to(from, chunk.sealed.get(), kSealedSize, &size)) {
            return Result::kFailed;
        }
        if (!open_seal(state, chunk, size)) {
            return Result::kRefused;
        }
        if (!file_io::write_all(to, chunk.plain.get(), size - kSealSize)) {
            return Result::kFailed;
        }
    } while (size == kSealedSize);
    return Result::kDone;
}

}  // namespace

Result encipher(int from, int to, const device_key::Key &key) {
    const Chunk chunk;
    State state;
    if (!chunk || !write_beginning(to, &state, key)) {
        return Result::kFailed;
    }
    return encipher_chunks(from, to, &state, chunk);
}

Result decipher(int from, int to, const device_key::Key &key) {
    const Chunk chunk;
    State state;
    if (!chunk) {
        return Result::kFailed;
    }
    const Result begun = read_beginning(from, &state, key);
    return begun == Result::kDone ? decipher_chunks(from, to, &state, chunk) : begun;
}

}  // namespace cipher_stream
