#include "cli/wait_notice.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "cli/complaint.h"
#include "cli/name_lookup.h"

namespace {

constexpr int64_t kFirstNoticeMs = 5000;
constexpr int64_t kMsPerSecond = 1000;

std::atomic<uint32_t> g_module{0};
std::atomic<int64_t> g_began_ms{0}; /* 0 while nobody waits */

int64_t now_ms() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/* Checks for a wait regularly instead of being notified of each one, since most waits are short. */
void *watch_waits(void *) {
    int64_t began = 0;
    int64_t due = 0;
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kMsPerSecond));
        const int64_t current = g_began_ms;
        due = current != began ? kFirstNoticeMs : due;
        began = current;
        if (began != 0 && now_ms() - began >= due) {
            complain(ExitCode::kUnreachable, module_text(g_module) + " has not answered for " +
                                                 std::to_string(due / kMsPerSecond) + " s, waiting on");
            due *= 2;
        }
    }
}

/* Signals are blocked in the new thread, since the main thread handles them. Without a thread there is no
 * notice. */
void start_watching() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    (void)::pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread = 0;
    if (::pthread_create(&thread, nullptr, watch_waits, nullptr) == 0) {
        (void)::pthread_detach(thread);
    }
    (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

WaitNotice::WaitNotice(uint32_t module) {
    static std::atomic<bool> watching{false};
    g_module = module;
    g_began_ms = now_ms();
    if (!watching.exchange(true)) {
        start_watching();
    }
}

WaitNotice::~WaitNotice() {
    g_began_ms = 0;
}
