/*
 * Bytes without any pattern, the same ones for the same seed.
 */
#pragma once

#include <cstdint>
#include <string>

inline std::string random_bytes(size_t count, uint32_t seed = 20240607) {
    std::string bytes;
    bytes.reserve(count);
    for (uint32_t state = seed; bytes.size() < count;) {
        state = state * 1664525 + 1013904223;
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}
