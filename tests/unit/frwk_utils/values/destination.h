/*
 * Where a conversion writes to in a test: bytes at an odd address inside a field of canaries, so that every
 * byte too many shows.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

class Destination {
  public:
    Destination() { std::fill(std::begin(bytes_), std::end(bytes_), kCanary); }

    void *out() { return bytes_ + kOffset; }

    /* The variable at out(). */
    template <typename T>
    T value() const {
        T copy;
        std::memcpy(&copy, bytes_ + kOffset, sizeof(copy));
        return copy;
    }

    /* The text at out(). */
    std::string text() const {
        const char *start = reinterpret_cast<const char *>(bytes_) + kOffset;
        return std::string(start, strnlen(start, sizeof(bytes_) - kOffset));
    }

    /* Whether no byte but the first count at out() has changed. */
    testing::AssertionResult only_wrote(size_t count) const {
        for (size_t i = 0; i < sizeof(bytes_); ++i) {
            const bool inside = i >= kOffset && i < kOffset + count;
            if (!inside && bytes_[i] != kCanary) {
                return testing::AssertionFailure()
                       << "byte " << static_cast<long>(i) - static_cast<long>(kOffset) << " has changed";
            }
        }
        return testing::AssertionSuccess();
    }

    /* Whether every byte is as in another destination, those around the variable too. */
    testing::AssertionResult same_as(const Destination &other) const {
        for (size_t i = 0; i < sizeof(bytes_); ++i) {
            if (bytes_[i] != other.bytes_[i]) {
                return testing::AssertionFailure()
                       << "byte " << static_cast<long>(i) - static_cast<long>(kOffset) << " differs";
            }
        }
        return testing::AssertionSuccess();
    }

    testing::AssertionResult untouched() const { return only_wrote(0); }

  private:
    static constexpr unsigned char kCanary = 0xa5;
    static constexpr size_t kOffset = 9;
    alignas(8) unsigned char bytes_[64];
};
