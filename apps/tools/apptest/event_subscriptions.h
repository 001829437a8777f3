/*
 * The subscriptions of a tool, which end with it.
 */
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "cli/exit_code.h"

/*
 * Why a tool can't subscribe as a module: ending the subscriptions would end those of another module, whose
 * name contains this one. "" if it can.
 */
std::string obstacle_to_subscribing(uint32_t module);

/* Subscribes as the module that the process is. Any thread. */
class EventSubscriptions {
  public:
    /* Subscribes to events until one fails, which it reports. */
    ExitCode begin(const std::vector<std::string> &events);

    /* Ends the subscriptions. Returns the code, or that of a failure if the code is kDone. */
    ExitCode end(ExitCode code);

  private:
    ExitCode begin_one(const std::string &event);

    std::mutex mutex_;               /* so that a message that ends the process finds every subscription */
    std::vector<std::string> begun_; /* mutex_ */
};
