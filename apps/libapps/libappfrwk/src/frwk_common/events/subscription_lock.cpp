/*
 * A record lock synchronises processes. Threads of one process share it, and the first one that closes the
 * file would release it for all. So a mutex synchronises the threads: only its owner opens the lock file.
 */
#include "frwk_common/events/subscription_lock.h"

#include <pthread.h>

#include <mutex>
#include <new>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/util/record_lock.h"
#include "internal/frwk_log.h"
#include "support/unique_fd.h"

namespace events {

namespace {

constexpr uint32_t kRetryPauseMs = 100;

std::mutex g_s_sub_lock_mutex;

/* Of the thread that holds the mutex, before it took it: it can't be cancelled meanwhile. */
int g_s_sub_lock_cancel_state = PTHREAD_CANCEL_ENABLE;

/*
 * The thread that holds the mutex doesn't exist in the child, and the record lock is not inherited. A fork
 * must not wait for this mutex, as it does for others: its owner may be waiting for another process.
 */
void open_lock_in_child() {
    g_s_sub_lock_file = nullptr;
    new (&g_s_sub_lock_mutex) std::mutex;
}

__attribute__((constructor)) void open_lock_in_children() {
    (void)::pthread_atfork(nullptr, nullptr, open_lock_in_child);
}

}  // namespace

namespace {

/* Takes the lock, and keeps it if it returns true. */
bool take_lock() {
    std::unique_lock<std::mutex> threads(g_s_sub_lock_mutex);

    for (;;) {
        UniqueFile file = open_lock_file(paths::kSubscribeLock);
        if (!file) {
            FRWK_WARN_ERRNO(log_name::kIpcSubscribeLock, "can't create subscribe lock file!");
            return false;
        }

        const RecordLock lock = lock_whole_file(file.get());
        if (lock == RecordLock::kFailed) {
            FRWK_WARN_ERRNO(log_name::kIpcSubscribeLock, "can't enter subscribe lock!");
            return false;
        }
        if (lock == RecordLock::kHeld) {
            g_s_sub_lock_file = file.take();
            (void)threads.release();  // until unlock_subscriptions
            return true;
        }

        if (set_aside_read_locked(paths::kSubscribeLock, file.get())) {
            continue;
        }
        FRWK_WARN(log_name::kIpcSubscribeLock, "busy, will try lock again...");
        file.reset();
        frwk_sleep(kRetryPauseMs);
    }
}

}  // namespace

bool lock_subscriptions() {
    int before = PTHREAD_CANCEL_ENABLE;
    (void)::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    if (!take_lock()) {
        (void)::pthread_setcancelstate(before, nullptr);
        return false;
    }
    g_s_sub_lock_cancel_state = before;
    return true;
}

void unlock_subscriptions() {
    const int before = g_s_sub_lock_cancel_state;
    UniqueFile(g_s_sub_lock_file.exchange(nullptr)).reset();
    g_s_sub_lock_mutex.unlock();
    (void)::pthread_setcancelstate(before, nullptr);
}

}  // namespace events
