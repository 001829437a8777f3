/*
 * The enciphered form of a file, from one descriptor to another: what lies where, and that nothing of it was
 * altered. See docs/cipher.md for the bytes.
 *
 * Knows neither paths nor where the key comes from, and needs the same little memory whatever the size. Any
 * thread; a descriptor serves one call at a time.
 */
#pragma once

#include "device_key.h"

namespace cipher_stream {

enum class Result {
    kDone,
    kRefused, /* the bytes are not what encipher wrote with this key, from the first to the last */
    kFailed   /* reading, writing or memory failed; errno tells */
};

/* Reads from to its end and writes its enciphered form. Never kRefused. */
Result encipher(int from, int to, const device_key::Key &key);

/*
 * Reads from to its end and writes what was enciphered.
 * Only kDone says that the whole is right: pieces are written before the next ones are looked at.
 */
Result decipher(int from, int to, const device_key::Key &key);

}  // namespace cipher_stream
