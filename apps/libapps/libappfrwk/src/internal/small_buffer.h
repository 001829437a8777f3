/*
 * A buffer that is on the stack if it is small, and otherwise a tracked block; and the checked addition of
 * sizes from outside.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "internal/plain_block.h"
#include "internal/zeroed_block.h"
#include "support/owned_block.h"

/* Adds two sizes; nothing if the sum does not fit into 32 bits. */
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
    // cppcheck-suppress uninitMemberVar ; callers overwrite it, and zeroing it would cost time for each
    // message
    SmallBuffer() = default;
    SmallBuffer(const SmallBuffer &) = delete;
    SmallBuffer &operator=(const SmallBuffer &) = delete;

    /*
     * Makes room for size bytes. Call it once, before data(). An empty size means that its computation
     * overflowed. Returns false without memory, or for an empty size. The bytes are uninitialised.
     */
    [[nodiscard]] bool reserve(std::optional<uint32_t> size) { return reserve_with(size, plain_block); }

    /* The same with zeroed bytes. */
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
