#include "apptest/load_run.h"

#include <algorithm>

namespace {

/* How often a client checks whether the run was stopped. */
constexpr std::chrono::milliseconds kLook{50};

/* The pause before the next request to a module that can't be reached. */
constexpr std::chrono::milliseconds kAfterLoss{10};

void count(LoadResult &result, const RequestOutcome &outcome, uint64_t microseconds) {
    if (!outcome.delivered()) {
        ++result.lost[outcome.sent];
        return;
    }
    ++result.answered;
    result.latencies.add(microseconds);
    if (!outcome.done()) {
        ++result.refused[outcome.result];
    }
}

}  // namespace

void LoadResult::add(const LoadResult &other) {
    latencies.add(other.latencies);
    answered += other.answered;
    seconds = std::max(seconds, other.seconds);
    for (const auto &[code, times] : other.refused) {
        refused[code] += times;
    }
    for (const auto &[code, times] : other.lost) {
        lost[code] += times;
    }
}

LoadRun::LoadRun(const LoadPlan &plan) : plan_(plan), begin_(Clock::now()), results_(plan.clients) {
    for (LoadResult &result : results_) {
        clients_.emplace_back([this, &result] { run_client(result); });
    }
}

LoadRun::~LoadRun() {
    stop();
    for (std::thread &client : clients_) {
        if (client.joinable()) {
            client.join();
        }
    }
}

double LoadRun::done() const {
    const double of_count =
        plan_.count > 0 ? static_cast<double>(finished_) / static_cast<double>(plan_.count) : 0;
    const double of_time = plan_.seconds > 0 ? elapsed() / plan_.seconds : 0;
    return std::min(1.0, std::max(of_count, of_time));
}

LoadResult LoadRun::result() {
    LoadResult all;
    for (size_t i = 0; i < clients_.size(); ++i) {
        clients_[i].join();
        all.add(results_[i]);
    }
    return all;
}

void LoadRun::run_client(LoadResult &result) {
    std::string answer(plan_.room, '\0');
    Clock::time_point due;
    while (wait_for_turn(taken_++, &due)) {
        const Envelope &envelope = plan_.envelope;
        const RequestOutcome outcome =
            send_request(envelope.module, envelope.msgid, envelope.body, &answer, plan_.timeout);
        const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - due);
        count(result, outcome, static_cast<uint64_t>(took.count()));
        ++finished_;
        if (!outcome.delivered()) {
            std::this_thread::sleep_for(kAfterLoss);
        }
    }
    result.seconds = elapsed();
}

/*
 * Waits until a request is due. Its latency is measured from then: with a rate, a request that had to wait
 * for an earlier one counts as late, as its user would notice. Returns false if the run is over.
 */
bool LoadRun::wait_for_turn(uint64_t number, Clock::time_point *due) const {
    *due = Clock::now();
    if (plan_.rate > 0) {
        *due = begin_ + std::chrono::duration_cast<Clock::duration>(
                            std::chrono::duration<double>(static_cast<double>(number) / plan_.rate));
    }
    while (!over(number) && Clock::now() < *due) {
        std::this_thread::sleep_until(std::min(*due, Clock::now() + kLook));
    }
    return !over(number);
}

bool LoadRun::over(uint64_t number) const {
    return stopped_ || (plan_.count > 0 && number >= plan_.count) ||
           (plan_.seconds > 0 && elapsed() >= plan_.seconds);
}

double LoadRun::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}
