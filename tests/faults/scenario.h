/*
 * One call of an exported function: its preparation, the call, its checks and its clean-up.
 */
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "faults/injector.h"

namespace faults {

/* Checks that are skipped if certain calls fail. */
enum class Waived {
    kEffect,         /* success although the effect is missing, or another one */
    kEffectIfLogged, /* the same, but it is logged */
    kWarning,        /* a failing result is not logged */
    kFile,           /* a file is left */
    kChange          /* something that a failed call must not change has changed */
};

/* The calls that start a shell. */
inline const std::vector<Call> kShellCalls = {Call::posix_spawnattr_init, Call::posix_spawn_file_actions_init,
                                              Call::calloc, Call::posix_spawn};

struct Exception {
    std::vector<Call> calls; /* those that fail; none: any */
    Waived waived;
    const char *reason;                 /* documents the exception */
    Fault::Way way = Fault::Way::kNone; /* in which they fail; kNone: any */
};

/* The calls that are made to fail. */
enum class Failing {
    kAll,
    kSystemCalls, /* the caller ends without memory */
    kAllocations
};

/* The indication that a call failed. */
enum class Reports {
    kResult, /* its result */
    kLog     /* a log line: the function has no result */
};

/*
 * Built in one expression:
 *
 *     Scenario("zndb_save").called([] { return zndb_save(); }).verified(saved).failing({E_ZNDB_RET_IPC})
 */
struct Scenario {
    explicit Scenario(const char *name) : function(name) {}

    /* Prepares the device for the call. */
    Scenario &prepared(std::function<void()> step) { return set(prepare, std::move(step)); }

    /* Makes the call and returns its result; 0 for a call without one. Must not allocate memory itself. */
    Scenario &called(std::function<long()> step) { return set(call, std::move(step)); }

    /* Releases what the call returned. */
    Scenario &released(std::function<void()> step) { return set(release, std::move(step)); }

    /* Checks the effect of a successful call: what was read, written, or has arrived. */
    Scenario &verified(std::function<bool()> step) { return set(verify, std::move(step)); }

    /* Checks that a failed call has changed nothing: its outputs, a file that it replaces. */
    Scenario &unchanged(std::function<bool()> step) { return set(is_unchanged, std::move(step)); }

    /* Results of a failed call that its header documents. */
    Scenario &failing(std::vector<long> results) { return set(failures, std::move(results)); }

    Scenario &reporting(Reports how) { return set(reports, how); }

    /* A successful call keeps memory or descriptors until the process ends. */
    Scenario &keeping() { return set(keeps, true); }

    /* Successful runs may make different calls: the last ones may not occur again. */
    Scenario &varying() { return set(varies, true); }

    /* A successful run makes no call that could fail. */
    Scenario &quiet() { return set(is_quiet, true); }

    /* Only these calls count. */
    Scenario &only(Failing which) { return set(failing_calls, which); }

    /* Only calls of other threads of the process count. */
    Scenario &on_other_threads() { return set(who, Who::kOthers); }

    Scenario &except(std::vector<Call> calls, Waived waived, const char *reason,
                     Fault::Way way = Fault::Way::kNone) {
        exceptions.push_back({std::move(calls), waived, reason, way});
        return *this;
    }

    const char *function;
    std::function<void()> prepare = [] {};
    std::function<long()> call;
    std::function<void()> release = [] {};
    std::function<bool()> verify = [] { return true; };
    std::function<bool()> is_unchanged = [] { return true; };
    std::vector<long> failures;
    std::vector<Exception> exceptions;
    Reports reports = Reports::kResult;
    Failing failing_calls = Failing::kAll;
    bool keeps = false;
    bool is_quiet = false;
    bool varies = false;
    Who who = Who::kCaller;

  private:
    template <typename Member, typename Value>
    Scenario &set(Member &member, Value value) {
        member = std::move(value);
        return *this;
    }
};

/* The counts for a function. */
struct Tally {
    size_t allocations = 0;
    size_t system_calls = 0;
    size_t faults = 0;
};

/* Makes each call of the scenario fail in turn and in each of its ways; a failed check fails the test. */
Tally run_scenario(const Scenario &scenario);

/* All scenarios of a table, with one line for each function on standard output. */
void run_scenarios(const std::vector<Scenario> &scenarios);

}  // namespace faults
