#include "sender.h"

#include <algorithm>

#include "module_locks.h"
#include "os_time.h"

namespace {

/* Of several modules in one process, the first one stands for all. */
Sender look_for(int32_t process) {
    const ModuleSet modules = modules_of(process);
    return modules != 0 ? static_cast<Sender>(__builtin_ctzll(modules)) : sender_of_process(process);
}

}  // namespace

Sender SenderFinder::find(int32_t process) {
    const uint32_t now = os_uptime_sec();
    const auto known = std::find_if(latest_.begin(), latest_.end(), [&](const Found &found) {
        return found.process == process && found.at == now;
    });
    if (known != latest_.end()) {
        return known->sender;
    }
    Found &next = latest_[oldest_++ % kRemembered];
    next = {process, look_for(process), now};
    return next.sender;
}
