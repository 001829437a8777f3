#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "checks.h"
#include "formats/device_paths.h"
#include "os_mem.h"

namespace {

/* That of the largest plain type. */
constexpr uintptr_t kAlignment = sizeof(uint64_t);

constexpr size_t kMebibyte = size_t{1} << 20;

/* Resident memory of the process, in bytes: the second number of the file, in pages. */
size_t resident() {
    const std::string sizes = Examination::content(paths::kOwnMemory);
    const size_t gap = std::min(sizes.find(' '), sizes.size());
    return std::strtoul(sizes.c_str() + gap, nullptr, 10) * static_cast<size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace

void checks::check_os_mem_init(const Examination &that) {
    const auto allocate = CALL(that, os_mem_malloc);
    const auto release = CALL(that, os_mem_free);
    const os_mem_settings settings = {};
    CALL(that, os_mem_init)(&settings);
    void *const block = allocate(1);
    that.expect(block != nullptr, "no block can be had after it");
    release(block);
}

void checks::check_os_mem_malloc(const Examination &that) {
    const auto allocate = CALL(that, os_mem_malloc);
    const auto release = CALL(that, os_mem_free);
    for (const size_t size : {size_t{1}, size_t{100}, kMebibyte}) {
        void *const block = allocate(size);
        that.expect(block != nullptr, "gives no block of " + std::to_string(size) + " bytes");
        that.expect(reinterpret_cast<uintptr_t>(block) % kAlignment == 0,
                    "gives a block that is not aligned to 8 bytes");
        std::memset(block, 0xA5, size);
        release(block);
    }
    that.expect(allocate(OS_MEM_BLOCK_MAX + 1) == nullptr, "gives a block above 64 MiB");
}

void checks::check_os_mem_strdup(const Examination &that) {
    const char text[] = "a text";
    char *const copy = CALL(that, os_mem_strdup)(text);
    that.expect(copy != nullptr, "gives no copy");
    that.expect(copy != text && std::strcmp(copy, text) == 0, "gives no copy of the text");
    CALL(that, os_mem_free)(copy);
}

void checks::check_os_mem_free(const Examination &that) {
    const auto allocate = CALL(that, os_mem_malloc);
    const auto release = CALL(that, os_mem_free);
    constexpr size_t kBlock = 8 * kMebibyte;
    constexpr int kRounds = 64;
    const size_t before = resident();
    for (int round = 0; round < kRounds; ++round) {
        void *const block = allocate(kBlock);
        that.expect(block != nullptr, "does not return the memory of its blocks");
        std::memset(block, 0xA5, kBlock);
        release(block);
    }
    // A library that checks memory may hold back freed blocks for a while.
    that.expect(resident() < before + kRounds * kBlock * 3 / 4, "does not return the memory of its blocks");
}

void checks::check_os_mem_usage(const Examination &that) {
    const auto usage = CALL(that, os_mem_usage);
    constexpr size_t kWords = 6;
    static_assert(sizeof(os_mem_usage_t) == kWords * sizeof(uint32_t));
    uint32_t words[2][kWords];
    std::memset(words[0], 0x5A, sizeof(words[0]));
    std::memset(words[1], 0xA5, sizeof(words[1]));
    const uint32_t blank[2] = {words[0][0], words[1][0]};
    for (auto &each : words) {
        os_mem_usage_t filled;
        std::memcpy(&filled, each, sizeof(filled));
        usage(&filled);
        std::memcpy(each, &filled, sizeof(filled));
    }
    for (size_t word = 0; word < kWords; ++word) {
        that.expect(words[0][word] != blank[0] || words[1][word] != blank[1],
                    "leaves word " + std::to_string(word + 1) + " of 6 as it was");
    }
}

void checks::check_os_mem_zeroing(const Examination &that) {
    const auto zeroing = CALL(that, os_mem_zeroing);
    that.expect(zeroing(0) == 1, "is not on at first, or does not return the previous setting");
    that.expect(zeroing(1) == 0, "does not return the previous setting");
}
