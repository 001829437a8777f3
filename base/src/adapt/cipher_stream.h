/*
 * Encrypts and decrypts a file's content from one descriptor to another, and detects alterations. See
 * docs/cipher.md for the format.
 *
 * Does not handle paths or key files. Needs constant memory. Any thread; one call at a time per descriptor.
 */
#pragma once

#include "device_key.h"

namespace cipher_stream {

enum class Result {
    kDone,
    kRefused, /* the bytes were altered, or not written by encipher with this key */
    kFailed   /* reading, writing or memory failed; see errno */
};

/* Encrypts everything that is read from "from". Never returns kRefused. */
Result encipher(int from, int to, const device_key::Key &key);

/*
 * Decrypts everything that is read from "from".
 * The output is authentic only if the result is kDone: each chunk is written before the next one is checked.
 */
Result decipher(int from, int to, const device_key::Key &key);

}  // namespace cipher_stream
