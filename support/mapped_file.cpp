#include "support/mapped_file.h"

#include <signal.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace {

/* More maps than this are not protected. */
constexpr size_t kMapsMax = 16;

/* What the handler knows of a map. */
struct Range {
    std::atomic<uintptr_t> begin; /* 0: free; written last */
    std::atomic<uintptr_t> end;
    std::atomic<int> rights;
};

Range g_ranges[kMapsMax];
struct sigaction g_before;

void note(void *data, size_t size, int rights) {
    for (Range &range : g_ranges) {
        uintptr_t none = 0;
        /* The end takes the entry; without the begin it holds no address. */
        const uintptr_t begin = reinterpret_cast<uintptr_t>(data);
        if (range.end.compare_exchange_strong(none, begin + size)) {
            range.rights = rights;
            range.begin = begin;
            return;
        }
    }
}

void forget(void *data) {
    for (Range &range : g_ranges) {
        if (range.begin == reinterpret_cast<uintptr_t>(data)) {
            range.begin = 0;
            range.end = 0;
            return;
        }
    }
}

/* Replaces the map that has the address by zeros. Returns false if no map has it. */
bool replace_map_with(uintptr_t address) {
    for (const Range &range : g_ranges) {
        const uintptr_t begin = range.begin;
        const uintptr_t end = range.end;
        if (begin != 0 && begin <= address && address < end) {
            return ::mmap(reinterpret_cast<void *>(begin), end - begin, range.rights,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
        }
    }
    return false;
}

/* As if this handler were not there: without one the fault comes again, and ends the process. */
void pass_on(int signal, siginfo_t *info, void *context) {
    if ((g_before.sa_flags & SA_SIGINFO) != 0) {
        g_before.sa_sigaction(signal, info, context);
    } else if (g_before.sa_handler == SIG_DFL || g_before.sa_handler == SIG_IGN) {
        (void)::signal(signal, SIG_DFL);
    } else {
        g_before.sa_handler(signal);
    }
}

void handle(int signal, siginfo_t *info, void *context) {
    const int kept = errno;
    const bool replaced = replace_map_with(reinterpret_cast<uintptr_t>(info->si_addr));
    if (!replaced) {
        pass_on(signal, info, context);
    }
    errno = kept;
}

bool install() {
    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    (void)::sigemptyset(&action.sa_mask);
    return ::sigaction(SIGBUS, &action, &g_before) == 0;
}

}  // namespace

bool MappedFile::map(int fd, size_t size, int rights) {
    static const bool installed = install();
    reset();
    void *data = installed ? ::mmap(nullptr, size, rights, MAP_SHARED, fd, 0) : MAP_FAILED;
    if (data == MAP_FAILED) {
        return false;
    }
    note(data, size, rights);
    data_ = data;
    size_ = size;
    return true;
}

void MappedFile::unmap(void *data, size_t size) {
    const int kept = errno;
    forget(data);
    (void)::munmap(data, size);
    errno = kept;
}

void MappedFile::reset() {
    if (data_ != nullptr) {
        unmap(data_, size_);
    }
    data_ = nullptr;
    size_ = 0;
}
