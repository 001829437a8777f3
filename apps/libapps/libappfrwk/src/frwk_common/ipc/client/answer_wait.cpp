#include "frwk_common/ipc/client/answer_wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "frwk_common.h"
#include "frwk_common/ipc/transport/ipc_trace.h"
#include "internal/coarse_clock.h"
#include "internal/frwk_log.h"

namespace ipc {

namespace {

constexpr uint64_t kMsPerSecond = 1000;

}  // namespace

/* A message usually has only one wait, which reads the clock once. */
int AnswerWait::ms_until_notice() {
    const uint64_t now = coarse_ms();
    if (began_ms_ == 0) {
        began_ms_ = now;
    }
    const uint64_t due = began_ms_ + due_seconds_ * kMsPerSecond;
    return due > now ? static_cast<int>(std::min<uint64_t>(due - now, INT_MAX)) : 0;
}

void AnswerWait::say_when_due() {
    if (ms_until_notice() > 0) {
        return;
    }
    const char *alias = frwk_module_alias(static_cast<int32_t>(module_));
    FRWK_WARN(caller_, "still waiting for [%s]::[%s:%d], %u s", alias != nullptr ? alias : "unknown",
              message_name(msgid_), msgid_, due_seconds_);
    due_seconds_ *= 2;
}

Waited AnswerWait::wait(int fd, short events, uint32_t) {
    for (;;) {
        pollfd peer = {fd, events, 0};
        const int result = ::poll(&peer, 1, ms_until_notice());
        if (result > 0) {
            return Waited::kReady;
        }
        if (result < 0 && errno != EINTR) {
            return Waited::kFailed;
        }
        say_when_due();
    }
}

}  // namespace ipc
