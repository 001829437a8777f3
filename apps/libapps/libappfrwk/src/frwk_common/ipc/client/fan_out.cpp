#include "frwk_common/ipc/client/fan_out.h"

#include <algorithm>

#include "formats/ipc_wire.h"

namespace ipc {

namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds kLimit(kIpcNotifyLimitSeconds);

/*
 * Only a connect that blocks is woken by a free place, and it waits for one module. So the stragglers take
 * turns, and a place that is free for a while is found in one of them.
 */
constexpr milliseconds kTurn(20);

}  // namespace

void FanOut::send(uint32_t module) {
    if (!may_send(notice_, module) || send_if_room(notice_, module, milliseconds(0))) {
        return;
    }
    if (count_ == kMost) {
        wait_for_stragglers();
    }
    stragglers_[count_++] = module;
}

/* Keeps those whose backlog is still full. */
void FanOut::try_each(Clock::time_point deadline) {
    const auto served = [this, deadline](uint32_t module) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        return send_if_room(notice_, module, std::clamp(left, milliseconds(0), kTurn));
    };
    const auto end = std::remove_if(stragglers_.begin(), stragglers_.begin() + count_, served);
    count_ = static_cast<size_t>(end - stragglers_.begin());
}

void FanOut::wait_for_stragglers() {
    if (count_ == 0) {
        return;
    }
    const auto deadline = Clock::now() + kLimit;
    do {
        try_each(deadline);
    } while (count_ > 0 && Clock::now() < deadline);
    std::for_each(stragglers_.begin(), stragglers_.begin() + count_, give_up);
    count_ = 0;
}

}  // namespace ipc
