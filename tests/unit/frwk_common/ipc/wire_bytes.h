/*
 * Messages as bytes, put together word by word: the tests check the wire against these and never against
 * the library's own records.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/* 32-bit words, one after another, in host byte order. */
inline Bytes words(std::initializer_list<uint32_t> values) {
    Bytes bytes(values.size() * sizeof(uint32_t));
    size_t at = 0;
    for (const uint32_t value : values) {
        std::memcpy(bytes.data() + at, &value, sizeof(value));
        at += sizeof(value);
    }
    return bytes;
}

inline Bytes operator+(Bytes front, const Bytes &back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

inline Bytes text_bytes(const std::string &text) {
    return Bytes(text.begin(), text.end());
}

/* Bytes that differ from their neighbours and never are zero. */
inline Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(1 + i % 251);
    }
    return bytes;
}

/* The word at a byte offset; 0xDEADBEEF after the end. */
inline uint32_t word_at(const Bytes &bytes, size_t offset) {
    uint32_t value = 0xDEADBEEF;
    if (offset + sizeof(value) <= bytes.size()) {
        std::memcpy(&value, bytes.data() + offset, sizeof(value));
    }
    return value;
}

inline Bytes slice(const Bytes &bytes, size_t from, size_t size) {
    if (from >= bytes.size()) {
        return {};
    }
    const size_t end = from + size < bytes.size() ? from + size : bytes.size();
    return Bytes(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.begin() + static_cast<ptrdiff_t>(end));
}
