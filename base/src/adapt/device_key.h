/*
 * The device's key, and the keys derived from it for each use. See cipher.h for the key files.
 *
 * Keeps no state between calls. Any thread may call, and several processes at once: all of them use the same
 * key.
 */
#pragma once

#include <cstddef>

namespace device_key {

inline constexpr size_t kKeySize = 32;

/* A key; the destructor wipes it. */
struct Key {
    unsigned char bytes[kKeySize];

    Key();
    ~Key();
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
};

/* A use of the device's key. Existing texts and files depend on these letters. */
using Use = char[9];
inline constexpr Use kForValues = "values-1";
inline constexpr Use kForFiles = "files--1";

/*
 * Derives the key for a use, and creates the device's key if it is missing.
 * Returns false, and logs, if there is no key.
 */
bool derive(const Use &use, Key *key);

}  // namespace device_key
