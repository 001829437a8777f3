/*
 * The one procedure for every function: a good run counts its calls, then each of them fails once in each of
 * its ways, and after each of these runs a good one must be as good as the first.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "faults/leaks.h"
#include "faults/log_tap.h"
#include "faults/scenario.h"

namespace faults {

namespace {

/* More of them only say the same. */
constexpr int kMostComplaints = 4;

/* Not all runs of other threads and of commands are alike. How many good ones are looked at, of which the one
 * with the fewest calls counts, and how often a run may pass a call by. */
constexpr int kGoodRuns = 5;
constexpr int kMostTries = 5;

/* Checks for every function. */
const Exception kOfAll[] = {
    {{Call::stat64}, Waived::kEffect, "os_file_exist says no and os_file_size 0, and nobody learns why"},
    {{Call::stat64}, Waived::kWarning, "the same"},
    {{Call::getc, Call::fgets}, Waived::kEffect, "lines that end early ended", Fault::Way::kEnds},
    {{Call::stat64}, Waived::kFile, "a folder that seems to be missing leads into the other one"},
};

/* The lines of a log, with "0" in place of each number. */
std::set<std::string> without_numbers(const std::string &log) {
    static const std::regex number("[0-9]+");
    std::istringstream text(log);
    std::set<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.insert(std::regex_replace(line, number, "0"));
    }
    return lines;
}

/* A run and its result. */
struct Outcome {
    long result = 0;
    Trace trace;
    bool effect = false;
    bool unchanged = true;
    std::string log;
    std::string grown;
};

class Runner {
  public:
    explicit Runner(const Scenario &scenario) : scenario_(scenario) {}

    Tally run() {
        learn();
        for (size_t at = 0; at < good_.trace.calls.size() && complaints_ < kMostComplaints; ++at) {
            for (size_t variant = 0; variant < row_of(good_.trace.calls[at]).count; ++variant) {
                fail_at(at, variant);
            }
        }
        if (missed_ > faults_) {
            ADD_FAILURE() << scenario_.function << " passed " << missed_ << " faults by";
        }
        return tally();
    }

  private:
    /* The first run fills what the process keeps for good, the others count. */
    void learn() {
        const auto count = [this] { watch(scenario_.who); };
        good_.result = run_once(count).result;
        good_ = run_once(count);
        for (int run = 1; run < kGoodRuns; ++run) {
            Outcome another = run_once(count);
            if (another.result == good_.result && is_shorter(another)) {
                good_ = std::move(another);
            }
        }
        files_after_ = device_files();
        files_after_.merge(files_before_);
        for (const Call call : good_.trace.calls) {
            ++always_[call];
        }
        require(scenario_.reports == Reports::kResult || scenario_.failures.empty(), good_,
                "has results, and reports by the log alone");
        require(!is_failure(good_.result), good_, "fails in a good run");
        require(good_.effect, good_, "has no effect");
        require(good_.grown.empty(), good_, "keeps" + good_.grown);
        require(good_.trace.calls.empty() == scenario_.is_quiet || !memory_is_watched(), good_,
                "makes an unexpected number of calls");
    }

    template <typename Watch>
    Outcome run_once(Watch start_watching) {
        scenario_.prepare();
        files_before_ = device_files();
        start_log();
        Outcome outcome;
        const Holdings before = holdings();
        start_watching();
        outcome.result = scenario_.call();
        outcome.trace = end();
        leave_out_others(outcome.trace.calls);
        scenario_.release();
        const bool may_keep = scenario_.keeps && (!learnt() || outcome.result == good_.result);
        outcome.grown = may_keep ? "" : grown_since_without(before, outcome.trace);
        outcome.log = logged_text();
        outcome.effect = (!learnt() || outcome.result == good_.result) && scenario_.verify();
        outcome.unchanged = !is_failure(outcome.result) || scenario_.is_unchanged();
        return outcome;
    }

    /* Keeps the calls that this scenario is about. */
    void leave_out_others(std::vector<Call> &calls) const {
        const Failing which = scenario_.failing_calls;
        const auto is_another = [which](Call call) {
            return which != Failing::kAll && is_allocation(call) != (which == Failing::kAllocations);
        };
        calls.erase(std::remove_if(calls.begin(), calls.end(), is_another), calls.end());
    }

    bool is_failure(long result) const {
        const auto &failures = scenario_.failures;
        return std::find(failures.begin(), failures.end(), result) != failures.end();
    }

    /* Not so under a sanitizer, where a function that only asks for memory makes no call. */
    static bool memory_is_watched() { return live_blocks() != 0; }

    bool is_shorter(const Outcome &run) const { return run.trace.calls.size() < good_.trace.calls.size(); }

    bool learnt() const { return !good_.trace.calls.empty(); }

    /* The trace is the test's own. */
    static std::string grown_since_without(Holdings before, const Trace &trace) {
        before.blocks += trace.calls.capacity() > 0 ? 1 : 0;
        return grown_since(before);
    }

    void fail_at(size_t at, size_t variant) {
        at_ = at;
        if (scenario_.varies && place_among_kind(at) >= always_[good_.trace.calls[at]]) {
            ++missed_;
            return;
        }
        Outcome outcome = run_struck(at, variant);
        if (outcome.trace.struck && !outcome.grown.empty()) {
            outcome = run_struck(at, variant); /* what a process keeps for good it keeps once */
        }
        if (!outcome.trace.struck) {
            missed(at, variant);
            return;
        }
        ++faults_;
        check(outcome);
        check_files(outcome);
        check_next(outcome);
    }

    /* A run in which that call of a good run fails. It is known by its kind and its place among its kind. */
    Outcome run_struck(size_t at, size_t variant) {
        const Call kind = good_.trace.calls[at];
        const size_t nth = place_among_kind(at);
        Outcome outcome;
        for (int tries = 0; tries < kMostTries && !outcome.trace.struck; ++tries) {
            outcome = run_once([&] { watch_kind(scenario_.who, kind, nth, variant); });
        }
        return outcome;
    }

    size_t place_among_kind(size_t at) const {
        const auto &calls = good_.trace.calls;
        const auto place = calls.begin() + static_cast<std::ptrdiff_t>(at);
        return static_cast<size_t>(std::count(calls.begin(), place, *place));
    }

    /* A call of the recorded run that this run did not make. */
    void missed(size_t at, size_t variant) {
        if (scenario_.varies) {
            ++missed_;
            always_[good_.trace.calls[at]] = place_among_kind(at);
            return;
        }
        ++complaints_;
        const CallRow &row = row_of(good_.trace.calls[at]);
        ADD_FAILURE() << scenario_.function << " never meets " << name_of(row.faults[variant]) << " in call "
                      << at << ", " << row.name;
    }

    void check(const Outcome &outcome) {
        const bool succeeded = outcome.result == good_.result;
        const bool warned = says_more(outcome.log);
        require(outcome.grown.empty(), outcome, "leaves" + outcome.grown);
        if (succeeded) {
            const bool told =
                warned && (scenario_.reports == Reports::kLog || is_waived(Waived::kEffectIfLogged, outcome));
            require(outcome.effect || told || is_waived(Waived::kEffect, outcome), outcome,
                    "succeeds without effect");
            return;
        }
        require(is_failure(outcome.result), outcome, "is no result of this function");
        require(outcome.unchanged || is_waived(Waived::kChange, outcome), outcome,
                "fails, and leaves a change");
        require(warned || is_waived(Waived::kWarning, outcome), outcome, "fails without a line in the log");
    }

    void check_files(const Outcome &outcome) {
        if (is_waived(Waived::kFile, outcome)) {
            return;
        }
        for (const std::string &file : device_files()) {
            const bool expected = files_after_.count(file) != 0 || files_before_.count(file) != 0;
            require(expected, outcome, "leaves " + file);
        }
    }

    void check_next(const Outcome &outcome) {
        const Outcome next = run_once([this] { watch(scenario_.who); });
        require(next.result == good_.result, outcome, "spoils the next call's result");
        require(next.effect, outcome, "spoils the next call's effect");
    }

    void require(bool holds, const Outcome &outcome, const std::string &complaint) {
        if (!holds) {
            ++complaints_;
            ADD_FAILURE() << story(outcome) << complaint;
        }
    }

    /* Whether there is a line that a good run does not log, whatever its numbers. */
    bool says_more(const std::string &log) const {
        const std::set<std::string> known = without_numbers(good_.log);
        const std::set<std::string> said = without_numbers(log);
        return !std::includes(known.begin(), known.end(), said.begin(), said.end());
    }

    bool is_waived(Waived waived, const Outcome &outcome) const {
        const auto applies = [&](const Exception &exception) {
            const auto &calls = exception.calls;
            const bool this_way =
                exception.way == Fault::Way::kNone || exception.way == outcome.trace.fault.way;
            return exception.waived == waived && this_way &&
                   (calls.empty() ||
                    std::find(calls.begin(), calls.end(), outcome.trace.failed) != calls.end());
        };
        const auto &own = scenario_.exceptions;
        return std::any_of(own.begin(), own.end(), applies) ||
               std::any_of(std::begin(kOfAll), std::end(kOfAll), applies);
    }

    std::string story(const Outcome &outcome) const {
        std::ostringstream text;
        text << scenario_.function << " returned " << outcome.result;
        if (outcome.trace.struck) {
            text << " when call " << at_ << ", " << row_of(outcome.trace.failed).name << ", met "
                 << name_of(outcome.trace.fault);
        }
        text << ", and logged:\n" << outcome.log << "This ";
        return text.str();
    }

    Tally tally() const {
        const auto &calls = good_.trace.calls;
        Tally tally;
        tally.allocations = static_cast<size_t>(std::count_if(calls.begin(), calls.end(), is_allocation));
        tally.system_calls = calls.size() - tally.allocations;
        tally.faults = faults_;
        return tally;
    }

    const Scenario &scenario_;
    Outcome good_;
    std::set<std::string> files_before_;
    std::set<std::string> files_after_;
    size_t at_ = 0;
    size_t faults_ = 0;
    size_t missed_ = 0;
    std::map<Call, size_t> always_; /* calls of a kind that every good run makes */
    int complaints_ = 0;
};

}  // namespace

Tally run_scenario(const Scenario &scenario) {
    return Runner(scenario).run();
}

void run_scenarios(const std::vector<Scenario> &scenarios) {
    for (const Scenario &scenario : scenarios) {
        const Tally tally = run_scenario(scenario);
        std::printf("%-40s %6zu %6zu %6zu\n", scenario.function, tally.allocations, tally.system_calls,
                    tally.faults);
    }
}

}  // namespace faults
