/*
 * A buffer that lies in the caller's frame as long as it is small, and in one tracked block above that;
 * and the addition of sizes that came from outside.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "internal/plain_block.h"
#include "internal/zeroed_block.h"
#include "support/owned_block.h"

/* Adds two sizes; nothing when the sum does not fit 32 bits. */
inline std::optional<uint32_t> checked_add(uint32_t a, uint32_t b) {
    uint32_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        return std::nullopt;
    }
    return sum;
}

template <uint32_t kFixedSize>
class SmallBuffer {
  public:
    // cppcheck-suppress uninitMemberVar ; it is about to be written, and zeroing it would cost each message
    SmallBuffer() = default;
    SmallBuffer(const SmallBuffer &) = delete;
    SmallBuffer &operator=(const SmallBuffer &) = delete;

    /*
     * Makes room for size bytes. Once, before data(). Nothing stands for a size that overflowed.
     * Returns false when there is no such block. The bytes start undefined.
     */
    [[nodiscard]] bool reserve(std::optional<uint32_t> size) { return reserve_with(size, plain_block); }

    /* The same with all of the size bytes zero. */
    [[nodiscard]] bool reserve_zeroed(std::optional<uint32_t> size) {
        if (!reserve_with(size, zeroed_block)) {
            return false;
        }
        if (!on_heap()) {
            std::memset(fixed_, 0, *size);
        }
        return true;
    }

    unsigned char *data() { return block_ ? static_cast<unsigned char *>(block_.get()) : fixed_; }
    bool on_heap() const { return static_cast<bool>(block_); }

  private:
    bool reserve_with(std::optional<uint32_t> size, void *(*allocate)(size_t size)) {
        if (!size) {
            return false;
        }
        if (*size <= kFixedSize) {
            return true;
        }
        block_.reset(allocate(*size));
        return static_cast<bool>(block_);
    }

    OwnedBlock block_;
    alignas(std::max_align_t) unsigned char fixed_[kFixedSize];
};
