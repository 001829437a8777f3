/*
 * Watching the settings. Each watcher has a thread, which reads the view's changes and waits on its serial in
 * between.
 *
 * A watcher belongs to its thread and to whoever called zndb_watch; the one that needs it last frees it. Its
 * state says whether it was cancelled and whether its handler is being called; both sides change it in one
 * step and wait on it, so no call begins after a cancel, and the thread holds no lock.
 */
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "internal/frwk_log.h"
#include "mapped_view.h"
#include "os_thread.h"
#include "support/futex.h"
#include "zndb_ext.h"

struct zndb_watcher {
    char prefix[ZNDB_KEY_LEN];
    zndb_watch_handler handler;
    void *context;
    pid_t process;                 /* that has the thread */
    uint32_t wake_bit;             /* its own wake-ups among those of the view's serial */
    std::atomic<uint32_t> state;   /* kCancelled, kInCall */
    std::atomic<uint32_t> users;   /* who still needs it: the thread, and the owner */
    std::atomic<pthread_t> thread; /* valid during a call */
    uint32_t instance;             /* of the service whose changes are told; 0 for none */
    view::Position position;
};

namespace {

constexpr uint32_t kCancelled = 1;
constexpr uint32_t kInCall = 2;

constexpr uint32_t kStackSize = 256 * 1024;

/* A view that appears where there was none wakes nobody: it is looked for. */
constexpr uint32_t kFirstPauseMs = 20;
constexpr uint32_t kLongestPauseMs = 2000;

/* While the service changes the view. */
constexpr uint32_t kShortPauseMs = 1;
constexpr int kStartAttempts = 20;

/* A service whose view was removed with it wakes nobody either. */
constexpr uint32_t kLookAgainMs = 2000;

void release(zndb_watcher *watcher) {
    if (watcher->users.fetch_sub(1) == 1) {
        delete watcher;
    }
}

const uint32_t *word_of(const std::atomic<uint32_t> &state) {
    static_assert(sizeof(state) == sizeof(uint32_t));
    return reinterpret_cast<const uint32_t *>(&state);
}

bool is_cancelled(const zndb_watcher &watcher) {
    return (watcher.state.load() & kCancelled) != 0;
}

/* Waits, unless the watcher is cancelled. */
void pause_unless_cancelled(const zndb_watcher &watcher, uint32_t ms) {
    futex_wait(word_of(watcher.state), 0, ms);
}

/* Calls the handler, unless the watcher was cancelled. */
void tell(zndb_watcher &watcher, const zndb_change &change) {
    uint32_t idle = 0;
    watcher.thread.store(::pthread_self());
    if (!watcher.state.compare_exchange_strong(idle, kInCall)) {
        return;
    }
    watcher.handler(&change, watcher.context);
    if ((watcher.state.fetch_and(~kInCall) & kCancelled) != 0) {
        futex_wake_all(word_of(watcher.state));
    }
}

void tell_of_all(zndb_watcher &watcher, zndb_change_kind kind) {
    tell(watcher, {ZNDB_STORE_PLAIN, kind, "", nullptr});
}

void tell_of_key(zndb_watcher &watcher, const view::Change &change, zndb_change_kind kind) {
    const zndb_store store = change.place == view::Place::kPerm ? ZNDB_STORE_PERM : ZNDB_STORE_PLAIN;
    tell(watcher, {store, kind, change.key, kind == ZNDB_CHANGE_SET ? change.value : nullptr});
}

/* Counts everything in the view as told. Returns false while the service is changing it. */
bool start_with(zndb_watcher &watcher, const view::Reader &reader) {
    if (!reader.start(watcher.position)) {
        return false;
    }
    watcher.instance = reader.instance();
    return true;
}

/* Waits for the next change and reads it. The view stays mapped meanwhile. */
view::Next read_next(zndb_watcher &watcher, view::Change &change) {
    const zndb_view::Pinned view = zndb_view::pin();
    if (!view) {
        watcher.instance = 0;
        return view::Next::kDamaged;
    }
    const view::Reader &reader = view.reader();
    if (watcher.instance != reader.instance()) {
        return start_with(watcher, reader) ? view::Next::kMissed : view::Next::kBusy;
    }
    const view::Next next = reader.next(watcher.prefix, watcher.position, change);
    if (next == view::Next::kNothing && !is_cancelled(watcher)) {
        futex_wait_bit(reader.serial_word(), watcher.position.seen, watcher.wake_bit, kLookAgainMs);
    }
    return next;
}

/* Reads the next change and tells it. Returns how long to pause. */
uint32_t step(zndb_watcher &watcher, uint32_t last_pause) {
    view::Change change;
    switch (read_next(watcher, change)) {
        case view::Next::kNothing:
            return 0;
        case view::Next::kSet:
            tell_of_key(watcher, change, ZNDB_CHANGE_SET);
            return 0;
        case view::Next::kDeleted:
            tell_of_key(watcher, change, ZNDB_CHANGE_DELETED);
            return 0;
        case view::Next::kReset:
            tell_of_all(watcher, ZNDB_CHANGE_RESET);
            return 0;
        case view::Next::kMissed:
            tell_of_all(watcher, ZNDB_CHANGE_RESYNC);
            return 0;
        case view::Next::kBusy:
            return kShortPauseMs;
        default:
            watcher.instance = 0;
            return last_pause < kFirstPauseMs ? kFirstPauseMs : std::min(2 * last_pause, kLongestPauseMs);
    }
}

void *run_watcher(void *argument) {
    auto *watcher = static_cast<zndb_watcher *>(argument);
    for (uint32_t pause = 0; !is_cancelled(*watcher);) {
        pause = step(*watcher, pause);
        if (pause != 0) {
            pause_unless_cancelled(*watcher, pause);
        }
    }
    release(watcher);
    return nullptr;
}

/* What is changed after this is told. */
void begin_watching(zndb_watcher &watcher) {
    for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
        const zndb_view::Pinned view = zndb_view::pin();
        if (!view || start_with(watcher, view.reader())) {
            return;
        }
        pause_unless_cancelled(watcher, kShortPauseMs);
    }
}

zndb_watcher *make_watcher(const char *prefix, zndb_watch_handler handler, void *context) {
    static std::atomic<uint32_t> made{0};
    auto *watcher = new (std::nothrow) zndb_watcher();
    if (watcher != nullptr) {
        std::memcpy(watcher->prefix, prefix, std::strlen(prefix) + 1);
        watcher->handler = handler;
        watcher->context = context;
        watcher->process = ::getpid();
        watcher->wake_bit = 1U << made.fetch_add(1) % 32;
        watcher->users = 2;
    }
    return watcher;
}

bool start_thread(zndb_watcher *watcher) {
    os_thread_t thread = 0;
    os_thread_attr attributes;
    os_thread_attr_init(&attributes);
    attributes.stack_size = kStackSize;
    return os_thread_create(&thread, &attributes, run_watcher, watcher) == 0;
}

/* Wakes the thread if it waits for changes. One that begins to wait right now finds out later. */
void wake(const zndb_watcher &watcher) {
    futex_wake_all(word_of(watcher.state));
    if (const zndb_view::Pinned view = zndb_view::pin()) {
        futex_wake_bit(view.reader().serial_word(), watcher.wake_bit);
    }
}

bool is_own_call(const zndb_watcher &watcher) {
    return ::pthread_equal(watcher.thread.load(), ::pthread_self()) != 0;
}

void wait_for_call(const zndb_watcher &watcher) {
    for (;;) {
        const uint32_t state = watcher.state.load();
        if ((state & kInCall) == 0) {
            return;
        }
        futex_wait(word_of(watcher.state), state, kLookAgainMs);
    }
}

}  // namespace

int zndb_watch(const char *prefix, zndb_watch_handler handler, void *context, zndb_watcher **watcher) {
    if (prefix == nullptr || handler == nullptr || watcher == nullptr) {
        FRWK_WARN(__func__, "Parameter error!");
        return E_ZNDB_RET_FAILURE;
    }
    if (std::strlen(prefix) >= ZNDB_KEY_LEN) {
        FRWK_WARN(__func__, "KEY len >= %d error!", ZNDB_KEY_LEN);
        return E_ZNDB_RET_KEY_LEN;
    }

    zndb_watcher *made = make_watcher(prefix, handler, context);
    if (made == nullptr) {
        FRWK_WARN(__func__, "no memory to watch '%s'", prefix);
        return E_ZNDB_RET_FAILURE;
    }
    begin_watching(*made);
    zndb_watcher *const before = std::exchange(*watcher, made); /* the handler may use it at once */
    if (!start_thread(made)) {
        FRWK_WARN(__func__, "no thread to watch '%s'", prefix);
        *watcher = before;
        delete made;
        return E_ZNDB_RET_FAILURE;
    }
    return E_ZNDB_RET_SUCCESS;
}

int zndb_unwatch(zndb_watcher *watcher) {
    if (watcher == nullptr) {
        FRWK_WARN(__func__, "Parameter error!");
        return E_ZNDB_RET_FAILURE;
    }
    if (watcher->process != ::getpid()) { /* the thread doesn't exist here */
        delete watcher;
        return E_ZNDB_RET_SUCCESS;
    }

    const bool in_call = (watcher->state.fetch_or(kCancelled) & kInCall) != 0;
    if (!in_call) {
        wake(*watcher);
    } else if (!is_own_call(*watcher)) {
        wait_for_call(*watcher);
    }
    release(watcher);
    return E_ZNDB_RET_SUCCESS;
}
