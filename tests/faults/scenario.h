/*
 * One call of an exported function: what it needs, how it is made, what it leaves.
 */
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "faults/injector.h"

namespace faults {

/* What is not asked of a run in which certain calls fail. */
enum class Waived {
    kEffect,         /* success although the effect is missing, or another one */
    kEffectIfLogged, /* the same, but it is logged */
    kWarning,        /* a failing result comes without a line in the log */
    kFile,           /* a file is left behind */
    kChange          /* what a failed call leaves alone has changed */
};

/* The calls that start a shell. */
inline const std::vector<Call> kShellCalls = {Call::posix_spawnattr_init, Call::posix_spawn_file_actions_init,
                                              Call::calloc, Call::posix_spawn};

struct Exception {
    std::vector<Call> calls; /* those that fail; none: any */
    Waived waived;
    const char *reason;                 /* for whoever reads the table */
    Fault::Way way = Fault::Way::kNone; /* in which they fail; kNone: any */
};

/* Which of the calls are made to fail. */
enum class Failing {
    kAll,
    kSystemCalls, /* the caller ends without memory */
    kAllocations
};

/* The indication that a call failed. */
enum class Reports {
    kResult, /* its result */
    kLog     /* a line in the log: the function has no result that could tell */
};

/*
 * Put together in one expression:
 *
 *     Scenario("zndb_save").called([] { return zndb_save(); }).verified(saved).failing({E_ZNDB_RET_IPC})
 */
struct Scenario {
    explicit Scenario(const char *name) : function(name) {}

    /* Makes the device what it is before the call. */
    Scenario &prepared(std::function<void()> step) { return set(prepare, std::move(step)); }

    /* Makes the call and returns its result; 0 for a call without one. Takes no memory of its own. */
    Scenario &called(std::function<long()> step) { return set(call, std::move(step)); }

    /* Gives back what the call handed out. */
    Scenario &released(std::function<void()> step) { return set(release, std::move(step)); }

    /* Whether the effect of a good call is there: what was read, written, or arrived. */
    Scenario &verified(std::function<bool()> step) { return set(verify, std::move(step)); }

    /* Whether what a failed call leaves alone is as it was: its outputs, a file that it replaces. */
    Scenario &unchanged(std::function<bool()> step) { return set(is_unchanged, std::move(step)); }

    /* Results of a failed call that its header names. */
    Scenario &failing(std::vector<long> results) { return set(failures, std::move(results)); }

    Scenario &reporting(Reports how) { return set(reports, how); }

    /* A good call keeps memory or descriptors for the life of the process. */
    Scenario &keeping() { return set(keeps, true); }

    /* Not every good call makes the same calls: the last ones may not come again to be failed. */
    Scenario &varying() { return set(varies, true); }

    /* A good call makes no call that could fail, where nearly all do. */
    Scenario &quiet() { return set(is_quiet, true); }

    /* Of the calls these alone count. */
    Scenario &only(Failing which) { return set(failing_calls, which); }

    /* Calls of other threads of the process count. */
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

/* What was done for a function. */
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
