/*
 * Queries the status of modules, all at once and with a time limit. A module that hangs would block a request
 * forever, so each one is queried on a separate thread, which is abandoned when the time is over.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "cli/request_outcome.h"
#include "cli/user_signals.h"
#include "os_mem.h"

/* The answers of a module. */
struct ProbeResult {
    /* The outcome of a probe; E_APPS_ERR_TIMEOUT if the module did not answer in time. */
    RequestOutcome probe = {E_APPS_ERR_MODULE, E_APPS_ERR_SUCCESS};
    bool forbidden = false;   /* this process may not connect to its socket */
    int64_t microseconds = 0; /* until the probe was answered */
    std::optional<uint32_t> status;
    std::optional<os_mem_usage_t> memory;
};

class ModuleSurvey {
  public:
    /* limit: the time limit for a module's answers. */
    ModuleSurvey(const std::vector<uint32_t> &modules, std::chrono::milliseconds limit);

    /* Starts a round: queries every module except those that have not answered an earlier round yet. */
    void begin();

    /* Waits until all modules queried in this round have answered, or the time is over. */
    void wait() const;

    /* The same, or until a signal arrives. */
    void wait(const SignalWatch &watch) const;

    /* The last answers of the modules. */
    std::map<uint32_t, ProbeResult> results() const;

  private:
    struct State;

    int milliseconds_left() const;

    const std::chrono::milliseconds limit_;
    std::chrono::steady_clock::time_point end_;
    const std::shared_ptr<State> state_; /* shared with the threads, which may outlive the survey */
};

/* Queries modules once. */
std::map<uint32_t, ProbeResult> survey_modules(const std::vector<uint32_t> &modules,
                                               std::chrono::milliseconds limit);
ProbeResult survey_module(uint32_t module, std::chrono::milliseconds limit);
