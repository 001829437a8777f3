/*
 * The state lies in memory that forked children share, so that their calls are seen. Nothing here takes
 * memory between watch() and end().
 */
#include "faults/injector.h"

#include <link.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

namespace faults {

namespace {

constexpr size_t kMostCalls = 1 << 16;

/* Calls that a library doesn't expect to fail: the process would end there. */
struct Fragile {
    const char *file; /* part of its name */
    bool (*is_call)(Call call);
};

/* json-c uses some of its small blocks without a look at them. libsodium ends the process where the kernel
 * has no random bytes, and is not called before it gave some. */
constexpr Fragile kFragile[] = {
    {"/libjson-c.so", is_allocation},
    {"/libsodium.so", [](Call call) { return call == Call::getrandom; }},
};
constexpr size_t kFragileCount = sizeof(kFragile) / sizeof(kFragile[0]);

struct Shared {
    std::atomic<Who> who;
    std::atomic<size_t> count;
    Call kind; /* of which a call fails; kNone: none does */
    size_t at; /* its place among its kind */
    std::atomic<size_t> count_of_kind;
    size_t variant;
    std::atomic<bool> struck;
    Call failed;
    Fault fault;
    std::atomic<Call> calls[kMostCalls];
};

struct Range {
    uintptr_t start = 0;
    uintptr_t end = 0;
};

Shared *g_shared = nullptr;
Range g_fragile[kFragileCount]; /* their code */
std::atomic<long> g_live_blocks{0};
std::atomic<void (*)(Call, int)> g_observer{nullptr};
thread_local bool t_is_watcher = false;
thread_local bool t_is_observing = false; /* or no part of the run any more */

Range code_of(const dl_phdr_info &info) {
    Range code;
    for (size_t i = 0; i < info.dlpi_phnum; ++i) {
        const auto &segment = info.dlpi_phdr[i];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
            code.start = info.dlpi_addr + segment.p_vaddr;
            code.end = code.start + segment.p_memsz;
        }
    }
    return code;
}

int find_fragile(dl_phdr_info *info, size_t, void *) {
    for (size_t i = 0; i < kFragileCount; ++i) {
        if (std::strstr(info->dlpi_name, kFragile[i].file) != nullptr) {
            g_fragile[i] = code_of(*info);
        }
    }
    return 0;
}

__attribute__((constructor)) void prepare() {
    void *memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) {
        g_shared = static_cast<Shared *>(memory);
    }
    (void)::dl_iterate_phdr(find_fragile, nullptr);
}

Fault strike(Call call) {
    const CallRow &row = row_of(call);
    g_shared->failed = call;
    g_shared->fault = row.faults[g_shared->variant];
    g_shared->struck = true;
    return g_shared->fault;
}

/* The outcome of the nth call of the kind. */
Fault fault_of(Call call, size_t nth) {
    if (nth == g_shared->at) {
        return strike(call);
    }
    const Fault &earlier = g_shared->fault;
    const bool is_next = g_shared->struck && nth == g_shared->at + 1;
    return is_next && earlier.way == Fault::Way::kFills ? Fault{Fault::Way::kFails, earlier.error} : Fault{};
}

}  // namespace

void watch_kind(Who who, Call kind, size_t nth, size_t variant) {
    t_is_watcher = true;
    g_shared->count = 0;
    g_shared->count_of_kind = 0;
    g_shared->kind = kind;
    g_shared->at = nth;
    g_shared->variant = variant;
    g_shared->struck = false;
    g_shared->who = who;
}

void watch(Who who) {
    watch_kind(who, Call::kNone, 0, 0);
}

void stop_watching() {
    g_shared->who = Who::kNobody;
}

void leave_run() {
    t_is_observing = true;
}

Fault met() {
    return g_shared->struck ? g_shared->fault : Fault{};
}

Unwatched::Unwatched() : who_(g_shared->who.exchange(Who::kNobody)) {}

Unwatched::~Unwatched() {
    resume();
}

void Unwatched::resume() const {
    g_shared->who = who_;
}

Trace end() {
    stop_watching();
    Trace trace;
    const size_t count = std::min(g_shared->count.load(), kMostCalls);
    trace.calls.assign(g_shared->calls, g_shared->calls + count);
    trace.struck = g_shared->struck;
    if (trace.struck) {
        trace.failed = g_shared->failed;
        trace.fault = g_shared->fault;
    }
    return trace;
}

bool watched() {
    if (g_shared == nullptr || t_is_observing) {
        return false;
    }
    const Who who = g_shared->who;
    return who != Who::kNobody && (who == Who::kCaller) == t_is_watcher;
}

Fault take(Call call) {
    if (!watched()) {
        return {};
    }
    const size_t index = g_shared->count.fetch_add(1);
    if (index < kMostCalls) {
        g_shared->calls[index] = call;
    }
    return call == g_shared->kind ? fault_of(call, g_shared->count_of_kind.fetch_add(1)) : Fault{};
}

Fault take_from(Call call, const void *caller) {
    const auto address = reinterpret_cast<uintptr_t>(caller);
    for (size_t i = 0; i < kFragileCount; ++i) {
        if (address >= g_fragile[i].start && address < g_fragile[i].end && kFragile[i].is_call(call)) {
            return {};
        }
    }
    return take(call);
}

void set_observer(void (*observer)(Call call, int fd)) {
    g_observer = observer;
}

void carried_out(Call call, int fd) {
    void (*observer)(Call, int) = g_observer;
    if (observer == nullptr || !watched()) {
        return;
    }
    const int kept = errno;
    t_is_observing = true;
    observer(call, fd);
    t_is_observing = false;
    errno = kept;
}

long live_blocks() {
    return g_live_blocks;
}

void count_block(long change) {
    g_live_blocks.fetch_add(change, std::memory_order_relaxed);
}

}  // namespace faults
