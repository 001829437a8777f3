/*
 * Sleeps, parks a thread permanently, and starts threads. No state; any thread.
 */
#include <cstring>

#include "frwk_common.h"
#include "internal/frwk_log.h"
#include "os_thread.h"
#include "os_time.h"

namespace {

constexpr uint32_t kMsPerSecond = 1000;

/* The pause between two attempts to park. */
constexpr uint32_t kParkRetryMs = 1000;

}  // namespace

void frwk_sleep(uint32_t ms) {
    if (ms >= kMsPerSecond) {
        os_sleep(ms / kMsPerSecond);
    }
    if (ms % kMsPerSecond != 0) {
        os_msleep(ms % kMsPerSecond);
    }
}

void frwk_keep_running(void) {
    os_sem *never_posted = os_sem_create(0);

    /* A module ends when its main thread returns, so this must not return after a failure. */
    for (;;) {
        if (never_posted == nullptr || os_sem_wait(never_posted) != 0) {
            frwk_sleep(kParkRetryMs);  // GCOVR_EXCL_LINE: a signal ends the thread here, without writing its
                                       // counters
        }
    }
}

unsigned long frwk_thread_create(void *(*function)(void *argument), void *argument) {
    os_thread_t thread = 0;
    const int32_t error = os_thread_create(&thread, nullptr, function, argument);
    if (error != 0) {
        FRWK_WARN(__func__, "can't start a thread, errno=%d, cause: %s", error,
                  std::strerror(error));  // NOLINT(concurrency-mt-unsafe)
        return 0;
    }
    return thread;
}
