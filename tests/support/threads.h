/*
 * Threads that a test starts and waits for.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

/* Runs the work in threads 0 to count - 1 at the same time. */
inline void run_in_threads(size_t count, const std::function<void(size_t number)> &work) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (size_t number = 0; number < count; ++number) {
        threads.emplace_back(work, number);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}
