/*
 * queue-bench: one queue between threads, measured once.
 *
 *   queue-bench list
 *   queue-bench rate PEER SENDERS MESSAGES   messages a second, from the first send to the last one handled
 *   queue-bench wake PEER MESSAGES           from a send to the handler, while the worker sleeps
 */
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "queues/queue_peer.h"

namespace {

struct Entry {
    const char *name;
    std::unique_ptr<QueuePeer> (*make)(Sink sink);
};

const Entry kEntries[] = {
    {"quorapps", make_itc_queue},          {"mutex and semaphore", make_semaphore_queue},
#ifdef HAVE_GLIB
    {"GAsyncQueue", make_glib_queue},
#endif
#ifdef HAVE_MOODYCAMEL
    {"moodycamel", make_moodycamel_queue},
#endif
#ifdef HAVE_BOOST
    {"Boost lock-free", make_boost_queue},
#endif
};

constexpr useconds_t kFallAsleepMicroseconds = 100;

uint64_t now_ns() {
    return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

/* Both are used only by the worker until it posts the semaphore. */
uint64_t g_left = 0;
uint64_t g_arrived_ns = 0; /* when the last message of all was handled, or how long one was under way */
sem_t g_done;

void count_down(const Item &) {
    if (--g_left == 0) {
        g_arrived_ns = now_ns();
        (void)::sem_post(&g_done);
    }
}

void note_arrival(const Item &item) {
    g_arrived_ns = now_ns() - item.sent_ns;
    (void)::sem_post(&g_done);
}

void wait_done() {
    while (::sem_wait(&g_done) != 0) {
    }
}

/* From the first send to the handling of the last message. The threads concerned read the clock, since the
 * waiting thread may be woken late. */
void measure_rate(const Entry &entry, uint64_t senders, uint64_t messages) {
    const uint64_t each = messages / senders;
    g_left = each * senders;
    const std::unique_ptr<QueuePeer> queue = entry.make(count_down);
    pthread_barrier_t barrier;
    (void)::pthread_barrier_init(&barrier, nullptr, static_cast<unsigned>(senders));
    std::vector<uint64_t> begins(senders);
    std::vector<std::thread> threads;
    for (uint64_t i = 0; i < senders; ++i) {
        threads.emplace_back([&, i] {
            (void)::pthread_barrier_wait(&barrier);
            begins[i] = now_ns();
            for (uint64_t number = 0; number < each; ++number) {
                queue->send({number, 0});
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    wait_done();
    const uint64_t begin = *std::min_element(begins.begin(), begins.end());
    const double seconds = static_cast<double>(g_arrived_ns - begin) / 1e9;
    std::printf("{\"rate\": %.1f}\n", static_cast<double>(each * senders) / seconds);
    (void)std::fflush(stdout);
    std::_Exit(0);
}

void measure_wake(const Entry &entry, uint64_t messages) {
    const std::unique_ptr<QueuePeer> queue = entry.make(note_arrival);
    std::vector<uint64_t> times;
    for (uint64_t i = 0; i < messages; ++i) {
        (void)::usleep(kFallAsleepMicroseconds);
        queue->send({i, now_ns()});
        wait_done();
        times.push_back(g_arrived_ns);
    }
    std::sort(times.begin(), times.end());
    std::printf("{\"median_us\": %.3f, \"p99_us\": %.3f}\n",
                static_cast<double>(times[times.size() / 2]) / 1e3,
                static_cast<double>(times[times.size() * 99 / 100]) / 1e3);
    (void)std::fflush(stdout);
    std::_Exit(0);
}

const Entry *find(const std::string &name) {
    const auto *found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                     [&](const Entry &entry) { return entry.name == name; });
    return found != std::end(kEntries) ? found : nullptr;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    const Entry *entry = argc > 2 ? find(argv[2]) : nullptr;
    (void)::sem_init(&g_done, 0, 0);
    if (command == "list") {
        for (const Entry &each : kEntries) {
            std::puts(each.name);
        }
        return 0;
    }
    if (command == "rate" && entry != nullptr && argc == 5) {
        measure_rate(*entry, std::strtoull(argv[3], nullptr, 10), std::strtoull(argv[4], nullptr, 10));
    }
    if (command == "wake" && entry != nullptr && argc == 4) {
        measure_wake(*entry, std::strtoull(argv[3], nullptr, 10));
    }
    (void)std::fprintf(stderr, "usage: queue-bench list | rate PEER SENDERS MESSAGES | wake PEER MESSAGES\n");
    return 2;
}
