/*
 * Stands in for both channels of the base library. Takes no memory. What a forked child logs is kept too.
 */
#include "faults/log_tap.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "os_log.h"

namespace faults {

namespace {

/* In memory that children share. */
struct Kept {
    std::atomic_flag locked;
    int warnings;
    size_t used;
    char text[4096];
};

Kept *make_kept() {
    void *memory = ::mmap(nullptr, sizeof(Kept), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? static_cast<Kept *>(memory) : nullptr;
}

Kept &g_kept = *make_kept();

class Lock {
  public:
    Lock() {
        while (g_kept.locked.test_and_set()) {
        }
    }
    ~Lock() { g_kept.locked.clear(); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
};

void keep(const char *function, const char *format, va_list args) {
    char line[512];
    const int head = std::snprintf(line, sizeof(line), "    %s: ", function);
    (void)std::vsnprintf(line + head, sizeof(line) - static_cast<size_t>(head) - 1, format, args);
    std::strcat(line, "\n");

    const Lock lock;
    ++g_kept.warnings;
    const size_t length = std::strlen(line);
    if (g_kept.used + length < sizeof(g_kept.text)) {
        std::memcpy(g_kept.text + g_kept.used, line, length);
        g_kept.used += length;
    }
}

}  // namespace

void start_log() {
    const Lock lock;
    g_kept.warnings = 0;
    g_kept.used = 0;
}

int warnings() {
    const Lock lock;
    return g_kept.warnings;
}

std::string logged_text() {
    const Lock lock;
    return {g_kept.text, g_kept.used};
}

}  // namespace faults

extern "C" {

__attribute__((visibility("default"))) void os_trace_print(int level, const char *, const char *function, int,
                                                           const char *format, ...) {
    if (level > OS_LOG_WARNING) {
        return;
    }
    va_list args;
    va_start(args, format);
    faults::keep(function, format, args);
    va_end(args);
}

__attribute__((visibility("default"))) void os_debug_print(int, const char *, const char *, int, const char *,
                                                           ...) {}
}
