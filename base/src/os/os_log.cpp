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

#include "held_over_forks.h"
#include "log_socket.h"
#include "log_text.h"
#include "support/log_line.h"
#include "text_copy.h"

int g_debug_log_enable = 0;
int g_syslog_level = OS_LOG_WARNING;

namespace {

/* A message's text, before control characters are escaped. */
constexpr size_t kTextMax = 2048;

constexpr size_t kNameMax = 63;
constexpr long kNanosPerMilli = 1000L * 1000L;

constexpr int64_t kNanosPerSecond = int64_t{1000} * 1000 * 1000;

/* From the eleventh in a second on, identical lines are only counted. */
constexpr size_t kShownInASecond = 10;

/* A count is written after this time at the latest, however often the line repeats. */
constexpr int64_t kCountAfter = 60 * kNanosPerSecond;

constexpr int64_t kLongAgo = INT64_MIN / 2;

/* The number of different lines that may alternate and are still recognised. */
constexpr size_t kKnownLines = 8;

/* The length of a line's beginning in its count, if another line was written in between. */
constexpr size_t kShownBeginning = 160;

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

/* A recent line: the data needed to recognise it and to count its repeats. */
struct KnownLine {
    uint64_t hash; /* of the text; 0 for none */
    int level;
    int64_t came_at[kShownInASecond]; /* the times of its last ten occurrences */
    size_t earliest;                  /* of came_at */
    int64_t last_came_at;
    long repeats; /* since it was written */
    long counted; /* how many of the repeats were reported */
    int64_t written_at;
    pid_t counted_by; /* the process that counted the last repeat */
    char beginning[kShownBeginning + 1];
};

/* An output for lines, with its recent lines: related failures often alternate. */
struct Channel {
    void (*write)(int level, const LogText &body);
    KnownLine known[kKnownLines];
    const KnownLine *last; /* the last written line, or the line of the last written count */
};

struct LogState {
    std::mutex mutex;
    char name[kNameMax + 1] = "unknown";
    LogText body; /* temporary, like the ones below */
    LogText count;
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

Channel g_debug_channel = {write_debug, {}, nullptr};
Channel g_system_channel = {write_system, {}, nullptr};

int64_t monotonic_nanos() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosPerSecond + now.tv_nsec;
}

/* FNV-1a, and never 0. */
uint64_t hash_of(const LogText &body) {
    constexpr uint64_t kBasis = 0xcbf29ce484222325;
    constexpr uint64_t kPrime = 0x100000001b3;
    uint64_t hash = kBasis;
    for (size_t i = 0; i < body.length(); ++i) {
        hash = (hash ^ static_cast<unsigned char>(body.text()[i])) * kPrime;
    }
    return std::max<uint64_t>(hash, 1);
}

/* Writes how often the line was repeated since that was last reported. A forked child skips repeats that its
 * parent counted. */
void write_count(Channel *channel, KnownLine *known) {
    if (known->repeats == known->counted || known->counted_by != getpid()) {
        return;
    }
    const bool follows = channel->last == known;
    LogText &line = g_log.count;
    line.clear();
    line.add(follows ? "last message repeated " : "message repeated ");
    line.add_number(known->repeats);
    line.add(known->repeats == 1 ? " time" : " times");
    if (!follows) {
        line.add(": ");
        line.add(known->beginning);
    }
    channel->write(known->level, line);
    known->counted = known->repeats;
    channel->last = known;
}

bool is_power_of_ten(long number) {
    while (number >= 10 && number % 10 == 0) {
        number /= 10;
    }
    return number == 1;
}

void count_repeat(KnownLine *known) {
    const pid_t self = getpid();
    if (known->counted_by != self) {
        known->counted_by = self;
        known->repeats = 0;
        known->counted = 0;
    }
    ++known->repeats;
}

/* Counts a repeat, and reports the count at 10, 100, 1000 repeats, and if the last report is old. */
void fold(Channel *channel, KnownLine *known, int64_t now) {
    count_repeat(known);
    const bool is_round = known->repeats > 1 && is_power_of_ten(known->repeats);
    if (is_round || now - known->written_at >= kCountAfter) {
        write_count(channel, known);
        known->written_at = now;
    }
}

/* Records an occurrence of a line. Returns whether it repeats too often within the last second. */
bool is_storm(KnownLine *known, int64_t now) {
    int64_t &earliest = known->came_at[known->earliest];
    const bool is_storm = now - earliest < kNanosPerSecond;
    earliest = now;
    known->earliest = (known->earliest + 1) % kShownInASecond;
    known->last_came_at = now;
    return is_storm;
}

void write_counts(Channel *channel) {
    for (KnownLine &known : channel->known) {
        write_count(channel, &known);
    }
}

KnownLine *find_known(Channel *channel, int level, uint64_t hash) {
    for (KnownLine &known : channel->known) {
        if (known.hash == hash && known.level == level) {
            return &known;
        }
    }
    return nullptr;
}

bool came_earlier(const KnownLine &left, const KnownLine &right) {
    return left.last_came_at < right.last_came_at;
}

/* Records a new line in place of the least recent one. */
KnownLine *begin_line(Channel *channel, int level, uint64_t hash, const LogText &body) {
    write_counts(channel);
    KnownLine *known = std::min_element(std::begin(channel->known), std::end(channel->known), came_earlier);
    known->hash = hash;
    known->level = level;
    std::fill(std::begin(known->came_at), std::end(known->came_at), kLongAgo);
    strsncpy(known->beginning, body.text(), std::min(body.length(), kShownBeginning));
    return known;
}

void put(Channel *channel, int level, const LogText &body) {
    const int64_t now = monotonic_nanos();
    const uint64_t hash = hash_of(body);
    KnownLine *known = find_known(channel, level, hash);
    if (known == nullptr) {
        known = begin_line(channel, level, hash, body);
    }
    if (is_storm(known, now)) {
        fold(channel, known, now);
        return;
    }
    write_counts(channel);
    known->repeats = 0;
    known->counted = 0;
    known->written_at = now;
    channel->last = known;
    channel->write(level, body);
}

/* Forgets the recent lines, so that the next lines are written. */
void forget_lines(Channel *channel) {
    write_counts(channel);
    std::fill(std::begin(channel->known), std::end(channel->known), KnownLine{});
    channel->last = nullptr;
}

void drop_line_ends(char *text) {
    for (size_t length = strlen(text); length > 0; --length) {
        if (text[length - 1] != '\n' && text[length - 1] != '\r') {
            return;
        }
        text[length - 1] = '\0';
    }
}

void print(Channel *channel, int level, const char *file, const char *function, int line, const char *format,
           va_list args) {
    const ErrnoKeeper errno_keeper;
    char text[kTextMax];
    const int length = vsnprintf(text, sizeof(text), format, args);
    if (length < 0) {
        text[0] = '\0';
    }
    drop_line_ends(text);

    const std::lock_guard<std::mutex> lock(g_log.mutex);
    LogText &body = g_log.body;
    body.clear();
    add_log_body(body, file, function, line, text);
    if (length >= static_cast<int>(sizeof(text))) {
        body.mark_cut();
    }
    put(channel, level, body);
}

void read_environment() {
    const char *debug = getenv(kDebugVariable);
    if (debug != nullptr && strcmp(debug, "1") == 0) {
        os_debug_enable();
    }
    const char *level = getenv(kLogLevelVariable);
    if (level != nullptr && level[0] >= '0' && level[0] <= '8' && level[1] == '\0') {
        __atomic_store_n(&g_syslog_level, level[0] - '0', __ATOMIC_RELAXED);
    }
}

/* Lines before os_log_init, such as those about a bad configuration file, must be logged too. */
__attribute__((constructor)) void read_environment_at_load() {
    read_environment();
}

/*
 * Reports the remaining repeats before the process ends. The objects of this file outlive all destructors. A
 * thread that was cancelled while writing a line still holds the lock, so this doesn't wait for the lock.
 */
__attribute__((destructor)) void tell_last_counts_at_exit() {
    const std::unique_lock<std::mutex> lock(g_log.mutex, std::try_to_lock);
    if (lock.owns_lock()) {
        write_counts(&g_debug_channel);
        write_counts(&g_system_channel);
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
        forget_lines(&g_debug_channel);
        forget_lines(&g_system_channel);
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
