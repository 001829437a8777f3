/*
 * The service with its files, as a run starts, troubles and ends it.
 */
#pragma once

#include <memory>
#include <string>

#include "model/disk_shadow.h"
#include "model/operation.h"
#include "model/trial_control.h"
#include "support/child_process.h"

namespace model {

class ServiceOnTrial {
  public:
    /* A device with the image's defaults and no settings; starts nothing. */
    ServiceOnTrial(std::string program, bool logs);
    ~ServiceOnTrial();
    ServiceOnTrial(const ServiceOnTrial &) = delete;
    ServiceOnTrial &operator=(const ServiceOnTrial &) = delete;

    /* The caller waits until it serves. */
    void start();
    void kill() { process_->kill(); }
    void terminate();

    /* Waits until it has ended by itself. */
    bool wait_for_end() { return process_->exit_status() >= 0; }

    /* Of the service's death; it must have ended. */
    void cut_power(Unsynced unsynced);

    void trouble(const Trouble &trouble);
    void refuse(uint32_t places, int error);

    /* Ends the trouble. Returns whether a step has failed since it began. */
    bool end_trouble();

    /* Whether it has ended itself since the last trouble. */
    bool died() const { return control_->died != 0; }
    bool running() { return process_->running(); }

    std::string log() const { return log_ + (process_ ? process_->errors() : ""); }

  private:
    const std::string program_;
    const bool logs_;
    TrialControl *control_ = nullptr;
    std::unique_ptr<ChildProcess> process_;
    std::string log_; /* of those that have ended */
};

}  // namespace model
