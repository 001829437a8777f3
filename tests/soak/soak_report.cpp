/*
 * The counts of a soak, and its report.
 */
#include <algorithm>
#include <cstdio>

#include "soak_watch.h"

namespace soak {

namespace {

struct Range {
    uint64_t least = UINT64_MAX;
    uint64_t most = 0;

    void add(uint64_t value) {
        least = std::min(least, value);
        most = std::max(most, value);
    }
};

/* Of the processes that live throughout. */
template <typename Value>
Range range_of(const Sample &sample, Value value) {
    Range range;
    for (uint32_t module = 1; module < kModules; ++module) {
        if (module != kDatabase && !is_mortal(module)) {
            range.add(value(sample.footprints[module]));
        }
    }
    return range;
}

/* The most that one process has grown since the second sample. */
int64_t largest_growth(const Sample &early, const Sample &late) {
    int64_t most = INT64_MIN;
    for (uint32_t module = 1; module < kModules; ++module) {
        if (module != kDatabase && !is_mortal(module)) {
            most = std::max(most, static_cast<int64_t>(late.footprints[module].resident_kib) -
                                      static_cast<int64_t>(early.footprints[module].resident_kib));
        }
    }
    return most;
}

void print_sample(const std::vector<Sample> &samples, size_t tenth) {
    const Sample &sample = samples[tenth];
    const Range resident = range_of(sample, [](const Footprint &each) { return each.resident_kib; });
    const Range written = range_of(sample, [](const Footprint &each) { return each.written_kib; });
    const Range open = range_of(sample, [](const Footprint &each) { return each.descriptors; });
    std::printf(
        "| %zu | %llu | %.0f | %llu | %llu to %llu | %llu to %llu | ", tenth + 1,
        static_cast<unsigned long long>(sample.steps),
        sample.seconds > 0 ? static_cast<double>(sample.steps) / sample.seconds : 0,
        static_cast<unsigned long long>(sample.kills), static_cast<unsigned long long>(resident.least),
        static_cast<unsigned long long>(resident.most), static_cast<unsigned long long>(written.least),
        static_cast<unsigned long long>(written.most));
    if (tenth > 1) {
        std::printf("%lld", static_cast<long long>(largest_growth(samples[1], sample)));
    }
    std::printf(" | %llu to %llu | %llu, %llu |\n", static_cast<unsigned long long>(open.least),
                static_cast<unsigned long long>(open.most),
                static_cast<unsigned long long>(sample.footprints[kDatabase].resident_kib),
                static_cast<unsigned long long>(sample.footprints[kDatabase].descriptors));
}

uint64_t sum(const Board &board, Count Module::*count) {
    uint64_t total = 0;
    for (const Module &module : board.modules) {
        total += module.*count;
    }
    return total;
}

void print_sum(const Board &board, const char *name, Count Module::*count) {
    std::printf("%-48s %12llu\n", name, static_cast<unsigned long long>(sum(board, count)));
}

uint64_t notices_received(const Board &board) {
    uint64_t total = 0;
    for (const auto &row : board.notices) {
        for (const Notices &notices : row) {
            total += notices.received;
        }
    }
    return total;
}

/* Of ten thousand messages. */
struct Least {
    const char *name;
    Count Module::*count;
    uint64_t share;
};

constexpr Least kLeast[] = {
    {"synchronous requests", &Module::syncs, 2500},
    {"asynchronous messages", &Module::asyncs, 1250},
    {"events published", &Module::publications, 250},
    {"notices of the churning events", &Module::churn_notices, 500},
    {"subscriptions begun or ended", &Module::changes, 35},
    {"settings read", &Module::gets, 600},
    {"settings set", &Module::sets, 400},
};
constexpr uint64_t kLeastNotices = 500;

void check_least(Board &board, const char *name, uint64_t count, uint64_t least) {
    if (count < least) {
        complain(&board, "%s: %llu, fewer than %llu", name, static_cast<unsigned long long>(count),
                 static_cast<unsigned long long>(least));
    }
}

}  // namespace

void check_counts(Board &board, uint64_t messages) {
    const uint64_t unit = messages / 10000;
    for (const Least &each : kLeast) {
        check_least(board, each.name, sum(board, each.count), unit * each.share);
    }
    check_least(board, "notices of the steady event", notices_received(board), unit * kLeastNotices);
}

void print_samples(const std::vector<Sample> &samples) {
    std::printf(
        "| Tenth | Messages | A second | Kills so far | Resident, KiB | Written, KiB | Largest growth since "
        "the second tenth, KiB | Descriptors | Database: KiB, descriptors |\n"
        "|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (size_t tenth = 0; tenth < samples.size(); ++tenth) {
        print_sample(samples, tenth);
    }
}

void print_totals(const Board &board, const Fleet &fleet, double seconds) {
    const uint64_t steps = sum(board, &Module::steps);
    std::printf("%-48s %12llu\n", "messages", static_cast<unsigned long long>(steps));
    print_sum(board, "synchronous requests, each answer checked", &Module::syncs);
    print_sum(board, "asynchronous messages", &Module::asyncs);
    print_sum(board, "events published", &Module::publications);
    std::printf("%-48s %12llu\n", "notices received of the steady event",
                static_cast<unsigned long long>(notices_received(board)));
    print_sum(board, "notices received of the churning events", &Module::churn_notices);
    print_sum(board, "subscriptions begun or ended", &Module::changes);
    print_sum(board, "settings read", &Module::gets);
    print_sum(board, "settings set", &Module::sets);
    print_sum(board, "saves", &Module::saves);
    print_sum(board, "requests to a module that was down or killed", &Module::excused);
    print_sum(board, "sets whose outcome a later read told", &Module::doubts);
    std::printf("%-48s %12llu\n", "modules killed and started anew",
                static_cast<unsigned long long>(fleet.kills()));
    std::printf("%-48s %12llu\n", "the database killed and started anew",
                static_cast<unsigned long long>(fleet.database_kills()));
    std::printf("%.1f s, %.0f messages a second\n", seconds, static_cast<double>(steps) / seconds);
}

}  // namespace soak
