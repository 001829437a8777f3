#include "log_fold.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <iterator>

#include "text_copy.h"

namespace {

constexpr int64_t kNanosPerSecond = int64_t{1000} * 1000 * 1000;

/* A count is written after this time at the latest, however often the line repeats. */
constexpr int64_t kCountAfter = 60 * kNanosPerSecond;

constexpr int64_t kLongAgo = INT64_MIN / 2;

LogText g_count; /* temporary */

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

bool is_power_of_ten(long number) {
    while (number >= 10 && number % 10 == 0) {
        number /= 10;
    }
    return number == 1;
}

}  // namespace

bool LogFold::came_earlier(const KnownLine &left, const KnownLine &right) {
    return left.last_came_at < right.last_came_at;
}

/* Records an occurrence of a line. Returns whether it repeats too often within the last second. */
bool LogFold::is_storm(KnownLine *known, int64_t now) {
    int64_t &earliest = known->came_at[known->earliest];
    const bool is_storm = now - earliest < kNanosPerSecond;
    earliest = now;
    known->earliest = (known->earliest + 1) % kShownInASecond;
    known->last_came_at = now;
    return is_storm;
}

void LogFold::count_repeat(KnownLine *known) {
    const pid_t self = getpid();
    if (known->counted_by != self) {
        known->counted_by = self;
        known->repeats = 0;
        known->counted = 0;
    }
    ++known->repeats;
}

LogFold::KnownLine *LogFold::find(int level, uint64_t hash) {
    for (KnownLine &known : known_) {
        if (known.hash == hash && known.level == level) {
            return &known;
        }
    }
    return nullptr;
}

/* Records a new line in place of the least recent one. */
LogFold::KnownLine *LogFold::begin_line(int level, uint64_t hash, const LogText &body) {
    write_counts();
    KnownLine *known = std::min_element(std::begin(known_), std::end(known_), came_earlier);
    known->hash = hash;
    known->level = level;
    std::fill(std::begin(known->came_at), std::end(known->came_at), kLongAgo);
    strsncpy(known->beginning, body.text(), std::min(body.length(), kShownBeginning));
    return known;
}

/* Writes how often the line was repeated since that was last reported. A forked child skips repeats that its
 * parent counted. */
void LogFold::write_count(KnownLine *known) {
    if (known->repeats == known->counted || known->counted_by != getpid()) {
        return;
    }
    const bool follows = last_ == known;
    g_count.clear();
    g_count.add(follows ? "last message repeated " : "message repeated ");
    g_count.add_number(known->repeats);
    g_count.add(known->repeats == 1 ? " time" : " times");
    if (!follows) {
        g_count.add(": ");
        g_count.add(known->beginning);
    }
    write_(known->level, g_count);
    known->counted = known->repeats;
    last_ = known;
}

/* Counts a repeat, and reports the count at 10, 100, 1000 repeats, and if the last report is old. */
void LogFold::fold(KnownLine *known, int64_t now) {
    count_repeat(known);
    const bool is_round = known->repeats > 1 && is_power_of_ten(known->repeats);
    if (is_round || now - known->written_at >= kCountAfter) {
        write_count(known);
        known->written_at = now;
    }
}

void LogFold::put(int level, const LogText &body) {
    const int64_t now = monotonic_nanos();
    const uint64_t hash = hash_of(body);
    KnownLine *known = find(level, hash);
    if (known == nullptr) {
        known = begin_line(level, hash, body);
    }
    if (is_storm(known, now)) {
        fold(known, now);
        return;
    }
    write_counts();
    known->repeats = 0;
    known->counted = 0;
    known->written_at = now;
    last_ = known;
    write_(level, body);
}

void LogFold::write_counts() {
    for (KnownLine &known : known_) {
        write_count(&known);
    }
}

void LogFold::forget_lines() {
    write_counts();
    std::fill(std::begin(known_), std::end(known_), KnownLine{});
    last_ = nullptr;
}
