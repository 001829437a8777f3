/*
 * Tracked memory: blocks of the C library with a header for the size.
 *
 * The counters are atomics without a lock: each is correct at any moment, but the counters that os_mem_usage
 * reads may differ by a few blocks while other threads allocate. An atomic operation costs as much as the C
 * library needs for a small block. So live bytes and live blocks share one word, and the peak is updated on
 * free, not on every allocation.
 */
#include "os_mem.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "os_log.h"

namespace {

struct alignas(std::max_align_t) BlockHeader {
    size_t size; /* as requested */
};

static_assert(sizeof(BlockHeader) % alignof(std::max_align_t) == 0, "blocks suit any type");
static_assert(OS_MEM_BLOCK_MAX <= std::numeric_limits<size_t>::max() - sizeof(BlockHeader));

/* One word has the live blocks in its upper and the live bytes in its lower bits. On 64-bit systems that is
 * enough for 64 GiB in 268 million blocks. */
constexpr unsigned kByteBits = sizeof(size_t) == sizeof(uint64_t) ? 36 : 32;
constexpr uint64_t kBytesMask = (uint64_t{1} << kByteBits) - 1;
constexpr uint64_t kOneBlock = uint64_t{1} << kByteBits;

/* The limit if none is set: the next block must not overflow into the block count. */
constexpr uint64_t kMostBytes = kBytesMask - OS_MEM_BLOCK_MAX;

struct MemState {
    std::atomic<uint32_t> warn_at{0};
    std::atomic<uint32_t> refuse_at{0};
    std::atomic<bool> warned{false};

    std::atomic<uint64_t> live{0};
    std::atomic<uint64_t> peak_bytes{0}; /* as of the last free */
    std::atomic<uint32_t> total_blocks{0};
    std::atomic<uint32_t> refused{0};
};

MemState g_mem;

/* Whether the calling thread's blocks are zeroed. */
thread_local bool g_zeroing = true;

/* Counts a block unless that exceeds the limit. sum: receives the live bytes, including the block. */
bool reserve(size_t size, uint64_t *sum) {
    const uint32_t limit = g_mem.refuse_at.load(std::memory_order_relaxed);
    const uint64_t most = limit != 0 ? limit : kMostBytes;
    uint64_t live = g_mem.live.load(std::memory_order_relaxed);
    do {
        *sum = (live & kBytesMask) + size;
        if (*sum > most) {
            return false;
        }
    } while (!g_mem.live.compare_exchange_weak(live, live + kOneBlock + size, std::memory_order_relaxed));
    return true;
}

void keep_peak(uint64_t bytes) {
    uint64_t peak = g_mem.peak_bytes.load(std::memory_order_relaxed);
    while (bytes > peak && !g_mem.peak_bytes.compare_exchange_weak(peak, bytes, std::memory_order_relaxed)) {
    }
}

/* Removes a block from the counts. Only a free can end a peak, so the peak is updated here. */
void release(size_t size) {
    const uint64_t before = g_mem.live.fetch_sub(kOneBlock + size, std::memory_order_relaxed);
    keep_peak(before & kBytesMask);
}

void warn_once(uint64_t live) {
    const uint32_t limit = g_mem.warn_at.load(std::memory_order_relaxed);
    if (limit != 0 && live > limit && !g_mem.warned.load() && !g_mem.warned.exchange(true)) {
        OS_LOG(OS_LOG_WARNING, "%llu bytes of memory in use, warning set at %u",
               static_cast<unsigned long long>(live), limit);
    }
}

void *refuse() {
    g_mem.refused.fetch_add(1);
    errno = ENOMEM;
    return nullptr;
}

uint32_t as_word(uint64_t bytes) {
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, std::numeric_limits<uint32_t>::max()));
}

/*
 * Allocates a block. malloc has a per-thread cache of small blocks, which calloc doesn't use. For large
 * blocks calloc doesn't have to clear pages that come from the kernel.
 */
BlockHeader *take(size_t size) {
    constexpr size_t kSmall = 1024;
    if (size > kSmall && g_zeroing) {
        return static_cast<BlockHeader *>(calloc(1, sizeof(BlockHeader) + size));
    }
    auto *header = static_cast<BlockHeader *>(malloc(sizeof(BlockHeader) + size));
    if (header != nullptr && size <= kSmall) {
        memset(header + 1, 0, size);
    }
    return header;
}

}  // namespace

void os_mem_init(const os_mem_settings *settings) {
    const os_mem_settings taken = settings != nullptr ? *settings : os_mem_settings{};
    g_mem.warn_at = taken.warn_at;
    g_mem.refuse_at = taken.refuse_at;
    g_mem.warned = false;
    OS_LOG(OS_LOG_DEBUG, "memory: warn at %u, refuse at %u, pool %u, pool block %u, pool total %u",
           taken.warn_at, taken.refuse_at, taken.pool, taken.pool_block, taken.pool_total);
}

void *os_mem_malloc(size_t size) {
    uint64_t live = 0;
    if (size > OS_MEM_BLOCK_MAX || !reserve(size, &live)) {
        return refuse();
    }

    BlockHeader *header = take(size);
    if (header == nullptr) {
        g_mem.live.fetch_sub(kOneBlock + size, std::memory_order_relaxed);
        return refuse();
    }
    header->size = size;

    g_mem.total_blocks.fetch_add(1, std::memory_order_relaxed);
    warn_once(live);
    return header + 1;
}

int32_t os_mem_zeroing(int32_t on) {
    const bool before = g_zeroing;
    g_zeroing = on != 0;
    return before ? 1 : 0;
}

char *os_mem_strdup(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t size = strlen(text) + 1;
    auto *copy = static_cast<char *>(os_mem_malloc(size));
    if (copy != nullptr) {
        memcpy(copy, text, size);
    }
    return copy;
}

void os_mem_free(void *block) {
    if (block == nullptr) {
        return;
    }
    BlockHeader *header = static_cast<BlockHeader *>(block) - 1;
    release(header->size);
    free(header);
}

void os_mem_usage(os_mem_usage_t *usage) {
    const uint64_t live = g_mem.live.load();
    keep_peak(live & kBytesMask);
    usage->live_bytes = as_word(live & kBytesMask);
    usage->peak_bytes = as_word(g_mem.peak_bytes.load());
    usage->live_blocks = static_cast<uint32_t>(live >> kByteBits);
    usage->total_blocks = g_mem.total_blocks.load();
    usage->refused = g_mem.refused.load();
    usage->warn_at = g_mem.warn_at.load();
}
