/*
 * A client warms up, then measures each round trip. Many clients are separate processes that start together.
 */
#include "peers/round_trips.h"

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned long kWarmUp = 50;
constexpr unsigned long kLeast = 20;
constexpr unsigned long kMost = 1000 * 1000;

/* The result of one client. */
struct Outcome {
    unsigned long count; /* timed */
    double seconds;
    double median_ns;
    double p99_ns;
    double cpu_ns; /* of the client, for each round trip */
};

/* Shared memory of the clients. */
struct Board {
    std::atomic<unsigned> waiting;
    Outcome outcomes[64];
};

double own_cpu_ns() {
    timespec used = {};
    (void)::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e9 + static_cast<double>(used.tv_nsec);
}

double nanoseconds(Clock::duration span) {
    return std::chrono::duration<double, std::nano>(span).count();
}

Outcome summarise(std::vector<uint32_t> *times, double seconds, double cpu_ns) {
    const size_t count = times->size();
    std::sort(times->begin(), times->end());
    const auto at = [&](double share) {
        return static_cast<double>((*times)[static_cast<size_t>(static_cast<double>(count - 1) * share)]);
    };
    return {count, seconds, at(0.5), at(0.99), cpu_ns / static_cast<double>(count)};
}

/* Round trips of many megabytes need only a few for warming up. */
unsigned long warm_up(const RoundTrips &plan) {
    return plan.request + plan.answer > (1u << 20) ? 3 : kWarmUp;
}

/* Runs one client. gate: called between the warm-up and the first measured round trip, and at the end. */
Outcome ask_repeatedly(const RoundTrips &plan, const std::function<void()> &gate) {
    const std::unique_ptr<Client> client = find_peer(plan.peer)->open(0, false);
    const Bytes request = make_request(plan.request, plan.answer);
    Bytes answer(plan.answer);
    for (unsigned long i = 0; i < warm_up(plan); ++i) {
        client->ask(request, &answer);
    }
    std::vector<uint32_t> times(kMost, 1); /* allocates its pages */
    times.clear();

    gate();
    const double cpu = own_cpu_ns();
    const auto begin = Clock::now();
    const auto end =
        begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(plan.seconds));
    auto before = begin;
    while (times.size() < kMost) {
        client->ask(request, &answer);
        const auto now = Clock::now();
        times.push_back(static_cast<uint32_t>(nanoseconds(now - before)));
        before = now;
        const bool enough =
            plan.count > 0 ? times.size() >= plan.count : now >= end && times.size() >= kLeast;
        if (enough) {
            break;
        }
    }
    const double used = own_cpu_ns() - cpu;
    gate();
    return summarise(&times, nanoseconds(before - begin) / 1e9, used);
}

void wait_at_gate() {
    (void)std::puts("warm");
    (void)std::fflush(stdout);
    (void)std::getchar();
}

void print(const RoundTrips &plan, unsigned long count, double rate, const Outcome &typical) {
    (void)std::printf(
        "{\"count\": %lu, \"asked\": %lu, \"rate\": %.1f, \"median_us\": %.3f, \"p99_us\": %.3f, "
        "\"client_cpu_us\": %.3f}\n",
        count, count + plan.clients * warm_up(plan), rate, typical.median_ns / 1e3, typical.p99_ns / 1e3,
        typical.cpu_ns / 1e3);
}

Board *share_board() {
    void *memory = ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "mmap");
    return new (memory) Board{};
}

[[noreturn]] void be_one_of_many(const RoundTrips &plan, Board *board, unsigned index) {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    board->outcomes[index] = ask_repeatedly(plan, [&] {
        board->waiting.fetch_add(1);
        while (board->waiting.load() < plan.clients) {
            (void)::usleep(500);
        }
    });
    std::_Exit(0);
}

/* The rates add up; the median is that of the clients' medians, the 99th percentile that of the worst. */
void ask_from_many(const RoundTrips &plan) {
    Board *board = share_board();
    for (unsigned i = 0; i < plan.clients; ++i) {
        const pid_t child = ::fork();
        require(child >= 0, "fork");
        if (child == 0) {
            be_one_of_many(plan, board, i);
        }
    }
    int status = 0;
    while (::wait(&status) > 0) {
        require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "a client");
    }

    unsigned long count = 0;
    double rate = 0;
    Outcome *first = board->outcomes;
    Outcome *last = first + plan.clients;
    Outcome typical = *first;
    for (const Outcome *each = first; each != last; ++each) {
        count += each->count;
        rate += static_cast<double>(each->count) / each->seconds;
        typical.p99_ns = std::max(typical.p99_ns, each->p99_ns);
    }
    std::sort(first, last, [](const Outcome &a, const Outcome &b) { return a.median_ns < b.median_ns; });
    typical.median_ns = first[plan.clients / 2].median_ns;
    print(plan, count, rate, typical);
}

}  // namespace

void measure_round_trips(const RoundTrips &plan) {
    if (plan.clients > 1) {
        ask_from_many(plan);
        return;
    }
    const Outcome outcome =
        ask_repeatedly(plan, plan.count > 0 ? wait_at_gate : std::function<void()>([] {}));
    print(plan, outcome.count, static_cast<double>(outcome.count) / outcome.seconds, outcome);
}
