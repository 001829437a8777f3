/*
 * Asks modules how they are, all at once and with a time limit: a module that hangs would hold a request for
 * ever, so each is asked on a thread of its own, which is left behind when the time is up.
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

/* What a module said. */
struct VitalSigns {
    /* Of a probe. A module that did not answer in time: E_APPS_ERR_TIMEOUT. */
    RequestOutcome probe = {E_APPS_ERR_MODULE, E_APPS_ERR_SUCCESS};
    int64_t microseconds = 0; /* until the probe was answered */
    std::optional<uint32_t> status;
    std::optional<os_mem_usage_t> memory;
};

class ModuleSurvey {
  public:
    /* limit: how long a module may take for its answers. */
    ModuleSurvey(const std::vector<uint32_t> &modules, std::chrono::milliseconds limit);

    /* Begins a round: asks every module but those that still owe the answers of an earlier one. */
    void begin();

    /* Waits until all that were asked in this round have answered, or the time is up. */
    void wait() const;

    /* The same, or until a signal comes. */
    void wait(const SignalWatch &watch) const;

    /* What the modules said last. */
    std::map<uint32_t, VitalSigns> signs() const;

  private:
    struct State;

    int milliseconds_left() const;

    const std::chrono::milliseconds limit_;
    std::chrono::steady_clock::time_point end_;
    const std::shared_ptr<State> state_; /* shared with the threads, which may outlive the survey */
};

/* Asks some modules once. */
std::map<uint32_t, VitalSigns> survey_modules(const std::vector<uint32_t> &modules,
                                              std::chrono::milliseconds limit);
VitalSigns survey_module(uint32_t module, std::chrono::milliseconds limit);
