/*
 * Bytes without any pattern, the same ones in every run.
 */
#pragma once

#include <cstdint>
#include <string>

inline std::string random_bytes(size_t count) {
    std::string bytes;
    uint32_t state = 20240607;
    while (bytes.size() < count) {
        state = state * 1664525 + 1013904223;
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}
