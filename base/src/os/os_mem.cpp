/*
 * Tracked memory: blocks of the C library, each with its size in front of it.
 *
 * The counters are atomics without a lock around them: each is right for itself at any moment, a set read
 * by os_mem_usage may be a few blocks apart while other threads are at work.
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
    size_t size; /* as the caller asked for it */
};

static_assert(sizeof(BlockHeader) % alignof(std::max_align_t) == 0, "blocks suit any type");
static_assert(OS_MEM_BLOCK_MAX <= std::numeric_limits<size_t>::max() - sizeof(BlockHeader));

struct MemState {
    std::atomic<uint32_t> warn_at{0};
    std::atomic<uint32_t> refuse_at{0};
    std::atomic<bool> warned{false};

    std::atomic<size_t> live_bytes{0};
    std::atomic<size_t> peak_bytes{0};
    std::atomic<uint32_t> live_blocks{0};
    std::atomic<uint32_t> total_blocks{0};
    std::atomic<uint32_t> refused{0};
};

MemState g_mem;

/* Adds size to the live bytes unless that goes past the limit. sum: the live bytes with it. */
bool reserve(size_t size, size_t *sum) {
    const size_t limit = g_mem.refuse_at.load();
    size_t live = g_mem.live_bytes.load();
    do {
        if (limit != 0 && (live > limit || size > limit - live)) {
            return false;
        }
    } while (!g_mem.live_bytes.compare_exchange_weak(live, live + size));
    *sum = live + size;
    return true;
}

void keep_peak(size_t live) {
    size_t peak = g_mem.peak_bytes.load();
    while (live > peak && !g_mem.peak_bytes.compare_exchange_weak(peak, live)) {
    }
}

void warn_once(size_t live) {
    const uint32_t limit = g_mem.warn_at.load();
    if (limit != 0 && live > limit && !g_mem.warned.exchange(true)) {
        OS_LOG(OS_LOG_WARNING, "%zu bytes of memory in use, warning set at %u", live, limit);
    }
}

void *refuse() {
    g_mem.refused.fetch_add(1);
    errno = ENOMEM;
    return nullptr;
}

uint32_t as_word(size_t bytes) {
    return static_cast<uint32_t>(std::min<size_t>(bytes, std::numeric_limits<uint32_t>::max()));
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
    size_t live = 0;
    if (size > OS_MEM_BLOCK_MAX || !reserve(size, &live)) {
        return refuse();
    }

    auto *header = static_cast<BlockHeader *>(calloc(1, sizeof(BlockHeader) + size));
    if (header == nullptr) {
        g_mem.live_bytes.fetch_sub(size);
        return refuse();
    }
    header->size = size;

    g_mem.live_blocks.fetch_add(1);
    g_mem.total_blocks.fetch_add(1);
    keep_peak(live);
    warn_once(live);
    return header + 1;
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
    g_mem.live_bytes.fetch_sub(header->size);
    g_mem.live_blocks.fetch_sub(1);
    free(header);
}

void os_mem_usage(os_mem_usage_t *usage) {
    usage->live_bytes = as_word(g_mem.live_bytes.load());
    usage->peak_bytes = as_word(g_mem.peak_bytes.load());
    usage->live_blocks = g_mem.live_blocks.load();
    usage->total_blocks = g_mem.total_blocks.load();
    usage->refused = g_mem.refused.load();
    usage->warn_at = g_mem.warn_at.load();
}
