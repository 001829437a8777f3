#include "frwk_common/ipc/server/own_messages.h"

#include <pthread.h>

#include <atomic>

#include "frwk_common/core/process_state.h"
#include "frwk_common/util/crowd_notice.h"
#include "internal/frwk_log.h"

namespace ipc {

namespace {

constexpr uint32_t kManyThreads = 100;

std::atomic<uint32_t> g_threads{0};
CrowdNotice<kManyThreads> g_notice;

/* The parent's threads don't exist in a forked child. */
void forget_threads() {
    g_threads = 0;
    g_notice.fallen_to(0);
}

__attribute__((constructor)) void forget_threads_in_children() {
    (void)::pthread_atfork(nullptr, nullptr, forget_threads);
}

}  // namespace

bool own_message_begins() {
    const uint32_t threads = g_threads.fetch_add(1, std::memory_order_relaxed) + 1;
    const uint32_t limit = g_s_own_messages_limit;
    if (limit != 0 && threads > limit) {
        g_threads.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }
    if (g_notice.grown_to(threads)) {
        FRWK_WARN(log_name::kIpcSendAsync,
                  "%u messages of this module to itself are handled at once, each on a separate thread",
                  threads);
    }
    return true;
}

void own_message_ends() {
    g_notice.fallen_to(g_threads.fetch_sub(1, std::memory_order_relaxed) - 1);
}

}  // namespace ipc
