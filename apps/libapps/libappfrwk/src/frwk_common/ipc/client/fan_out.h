/*
 * Sends one message to several modules: first to all without waiting, then to those whose backlog was full,
 * within one time limit for all of them. So stopped modules cost the sender one time limit, not one each.
 */
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "frwk_common/ipc/client/one_way.h"
#include "frwk_module.h"

namespace ipc {

/* One thread at a time. */
class FanOut {
  public:
    explicit FanOut(const Notice &notice) : notice_(notice) {}

    /* Sends the message to another module, now or with the stragglers. */
    void send(uint32_t module);

    /* Sends it to the stragglers. Modules that stay full are logged. */
    void wait_for_stragglers();

  private:
    using Clock = std::chrono::steady_clock;

    /* Every module once. A list of subscribers may name one several times. */
    static constexpr size_t kMost = E_APPS_MODULE_MAX;

    void try_each(Clock::time_point deadline);

    Notice notice_;
    std::array<uint32_t, kMost> stragglers_; /* the first count_ are set */
    size_t count_ = 0;
};

}  // namespace ipc
