/*
 * The device's key, and the keys of single uses that are derived from it. Which files hold it: see cipher.h.
 *
 * Nothing is kept between calls. Every function may be called from any thread, and by several processes at
 * once: they end up with the same key.
 */
#pragma once

#include <cstddef>

namespace device_key {

inline constexpr size_t kKeySize = 32;

/* A key, wiped at the end of its scope. */
struct Key {
    unsigned char bytes[kKeySize];

    Key();
    ~Key();
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;
};

/* A use of the device's key. Texts and files that exist depend on its letters. */
using Use = char[9];
inline constexpr Use kForValues = "values-1";
inline constexpr Use kForFiles = "files--1";

/*
 * Derives the key of one use, and makes the device's key before when it has none.
 * Returns false when there is no key, which has been logged.
 */
bool derive(const Use &use, Key *key);

}  // namespace device_key
