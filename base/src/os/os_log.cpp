/*
 * The two log channels: the debug channel on standard error, and the system log.
 *
 * One lock serialises the lines of all threads. Nothing here uses heap memory, so that lack of memory can be
 * logged.
 */
#include "os_log.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <mutex>

#include "log_fold.h"
#include "log_socket.h"
#include "log_text.h"
#include "support/held_over_forks.h"
#include "support/log_line.h"
#include "support/uncancelled.h"
#include "text_copy.h"

int g_debug_log_enable = 0;
int g_syslog_level = OS_LOG_WARNING;

namespace {

/* A message's text, before control characters are escaped. */
constexpr size_t kTextMax = 2048;

constexpr size_t kNameMax = 63;
constexpr long kNanosPerMilli = 1000L * 1000L;

/* System log facilities, indexed by the module table's numbers; the first is for all other numbers. */
constexpr int kFacilities[] = {
    LOG_USER,   LOG_AUTH,   LOG_AUTHPRIV, LOG_CRON,   LOG_DAEMON, LOG_FTP,    LOG_KERN,
    LOG_LOCAL0, LOG_LOCAL1, LOG_LOCAL2,   LOG_LOCAL3, LOG_LOCAL4, LOG_LOCAL5, LOG_LOCAL6,
    LOG_LOCAL7, LOG_LPR,    LOG_MAIL,     LOG_NEWS,   LOG_SYSLOG, LOG_USER,   LOG_UUCP,
};

class ErrnoKeeper {
  public:
    ErrnoKeeper() : kept_(errno) {}
    ~ErrnoKeeper() { errno = kept_; }
    ErrnoKeeper(const ErrnoKeeper &) = delete;
    ErrnoKeeper &operator=(const ErrnoKeeper &) = delete;

  private:
    const int kept_;
};

struct LogState {
    std::mutex mutex;
    char name[kNameMax + 1] = "unknown";
    LogText body; /* temporary, like the next one */
    LogText debug;
};

std::atomic<uint32_t> g_mask{0};
LogState g_log; /* the mutex protects all other members */
LogSocket g_log_socket;

void write_debug(int level, const LogText &body) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);

    LogText &line = g_log.debug;
    line.clear();
    add_debug_head(line, parts, now.tv_nsec / kNanosPerMilli, level, g_log.name);
    line.add(body.text());
    line.end();
    while (write(STDERR_FILENO, line.text(), line.length()) < 0 && errno == EINTR) {
    }
}

void write_system(int level, const LogText &body) {
    g_log_socket.write(std::clamp(level, LOG_EMERG, LOG_DEBUG), body);
}

LogFold g_debug_channel(write_debug);
LogFold g_system_channel(write_system);

void drop_line_ends(char *text) {
    for (size_t length = strlen(text); length > 0; --length) {
        if (text[length - 1] != '\n' && text[length - 1] != '\r') {
            return;
        }
        text[length - 1] = '\0';
    }
}

void print(LogFold *channel, int level, const char *file, const char *function, int line, const char *format,
           va_list args) {
    const ErrnoKeeper errno_keeper;
    char text[kTextMax];
    const int length = vsnprintf(text, sizeof(text), format, args);
    if (length < 0) {
        text[0] = '\0';
    }
    drop_line_ends(text);

    const Uncancelled uncancelled;
    const std::lock_guard<std::mutex> lock(g_log.mutex);
    LogText &body = g_log.body;
    body.clear();
    add_log_body(body, file, function, line, text);
    if (length >= static_cast<int>(sizeof(text))) {
        body.mark_cut();
    }
    channel->put(level, body);
}

void read_environment() {
    const char *debug = getenv(kDebugVariable);
    if (debug != nullptr && strcmp(debug, "1") == 0) {
        os_debug_enable();
    }
    const char *level = getenv(kLogLevelVariable);
    constexpr char kLastLevel = '0' + static_cast<char>(std::size(kLogLevels) - 1);
    if (level != nullptr && level[0] >= '0' && level[0] <= kLastLevel && level[1] == '\0') {
        __atomic_store_n(&g_syslog_level, level[0] - '0', __ATOMIC_RELAXED);
    }
}

/* Lines before os_log_init, such as those about a bad configuration file, must be logged too. */
__attribute__((constructor)) void read_environment_at_load() {
    read_environment();
}

/*
 * Reports the remaining repeats before the process ends. The objects of this file outlive all destructors. If
 * exit is called by a signal handler, the interrupted thread may hold the lock, so this doesn't wait for it.
 */
__attribute__((destructor)) void tell_last_counts_at_exit() {
    const std::unique_lock<std::mutex> lock(g_log.mutex, std::try_to_lock);
    if (lock.owns_lock()) {
        g_debug_channel.write_counts();
        g_system_channel.write_counts();
        (void)g_log_socket.tell_losses();
    }
}

__attribute__((constructor)) void hold_log_over_forks() {
    hold_over_forks<g_log>();
}

int facility_of(uint32_t number) {
    return number < std::size(kFacilities) ? kFacilities[number] : kFacilities[0];
}

}  // namespace

void os_log_init(const char *name, uint32_t facility) {
    {
        const std::lock_guard<std::mutex> lock(g_log.mutex);
        g_debug_channel.forget_lines();
        g_system_channel.forget_lines();
        strsncpy(g_log.name, name != nullptr ? name : "unknown", kNameMax);
        g_log_socket.set_sender(g_log.name, facility_of(facility));
    }
    openlog(g_log.name, LOG_PID, facility_of(facility)); /* for the module's own calls of syslog(3) */
    read_environment();
}

void os_debug_enable(void) {
    __atomic_store_n(&g_debug_log_enable, 1, __ATOMIC_RELAXED);
}

void os_mask_set(uint32_t levels) {
    g_mask.store(levels, std::memory_order_relaxed);
}

int32_t os_mask_check(int level) {
    const uint32_t mask = g_mask.load(std::memory_order_relaxed);
    if (mask == 0) {
        return 1;
    }
    return level >= 0 && level < 32 && (mask >> level & 1u) != 0 ? 1 : 0;
}

void os_debug_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    va_list args;
    va_start(args, format);
    print(&g_debug_channel, level, file, function, line, format, args);
    va_end(args);
}

void os_trace_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    va_list args;
    va_start(args, format);
    print(&g_system_channel, level, file, function, line, format, args);
    va_end(args);
}

void os_log_assert(const char *file, const char *function, int line, int condition, const char *text,
                   const char *message) {
    if (condition != 0) {
        return;
    }
    if (OS_LOG_TO_DEBUG(OS_LOG_WARNING)) {
        os_debug_print(OS_LOG_WARNING, file, function, line, "ASSERT(%s) %s", text, message);
    }
    if (OS_LOG_TO_SYSTEM(OS_LOG_WARNING)) {
        os_trace_print(OS_LOG_WARNING, file, function, line, "ASSERT(%s) %s", text, message);
    }
}
