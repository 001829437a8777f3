/*
 * Sends many requests to a module from several concurrent clients, and measures them. Every client is a
 * thread.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apptest/apptest_options.h"
#include "apptest/latency_histogram.h"
#include "cli/request_outcome.h"

struct LoadPlan {
    Envelope envelope;
    uint32_t clients;
    double rate;      /* requests per second of all clients together; 0 for no limit */
    uint64_t count;   /* requests; 0 for no limit */
    double seconds;   /* 0 for no limit */
    uint32_t room;    /* bytes of an answer */
    uint32_t timeout; /* seconds */
};

struct LoadResult {
    LatencyHistogram latencies; /* of requests that were answered */
    uint64_t answered = 0;
    std::map<apps_err_e_type, uint64_t> refused; /* answered with a code other than success */
    std::map<apps_err_e_type, uint64_t> lost;    /* not answered */
    double seconds = 0;

    void add(const LoadResult &other);
};

class LoadRun {
  public:
    /* Starts the clients. */
    explicit LoadRun(const LoadPlan &plan);

    /* Stops the clients and waits for them. */
    ~LoadRun();

    LoadRun(const LoadRun &) = delete;
    LoadRun &operator=(const LoadRun &) = delete;

    /* The number of finished requests, and the progress of the run: from 0 to 1. */
    uint64_t finished() const { return finished_; }
    double done() const;

    /* Makes the clients stop after their present request. */
    void stop() { stopped_ = true; }

    /* Waits for the clients and adds up their results. Call it once. */
    LoadResult result();

  private:
    using Clock = std::chrono::steady_clock;

    void run_client(LoadResult &result);
    bool wait_for_turn(uint64_t number, Clock::time_point *due) const;
    bool over(uint64_t number) const;
    double elapsed() const;

    const LoadPlan plan_;
    const Clock::time_point begin_;
    std::atomic<uint64_t> taken_{0};
    std::atomic<uint64_t> finished_{0};
    std::atomic<bool> stopped_{false};
    std::vector<LoadResult> results_;
    std::vector<std::thread> clients_;
};
