/*
 * The clock is read when an exchange begins, after a wait, and after the handler: twice for one that never
 * has to wait.
 */
#include "frwk_common/exchange_watch.h"

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "frwk_common.h"
#include "frwk_common/ipc_trace.h"
#include "internal/frwk_log.h"

namespace {

constexpr char kExchange[] = "frwk_ipc_handle";

constexpr int kMsPerSecond = 1000;

/* An exchange that takes longer is worth a line. */
constexpr int kSlowMs = 1000;

/* Above what the kernel's slowest tick takes. */
constexpr int kClockStepMs = 20;

const char *in_words(ExchangeStep step) {
    switch (step) {
        case ExchangeStep::kHeader:
            return "waiting for its header";
        case ExchangeStep::kBody:
            return "waiting for its body";
        case ExchangeStep::kRegistration:
            return "waiting for the handler to be registered";
        case ExchangeStep::kHandler:
            return "in the handler";
        default:
            return "waiting for its answer to be read";
    }
}

/* Returns 0 when the kernel doesn't say. */
int peer_pid(int fd) {
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? static_cast<int>(peer.pid) : 0;
}

/* The sender's id comes off the wire: it may name an empty slot, or none. */
const char *sender_alias(uint32_t src) {
    const char *alias = src < E_APPS_MODULE_MAX ? frwk_module_alias(static_cast<int32_t>(src)) : nullptr;
    return alias != nullptr ? alias : "unknown";
}

}  // namespace

void ExchangeWatch::look() {
    const uint64_t now = coarse_ms();
    if (now - looked_ms_ > longest_ms_) {
        longest_ms_ = now - looked_ms_;
        longest_ = step_;
    }
    looked_ms_ = now;
    if (!reported_ && now - began_ms_ > kSlowMs) {
        report(static_cast<unsigned>(now - began_ms_));
    }
}

/* The clock lags behind by one of its steps at most. */
int ExchangeWatch::ms_until_slow() const {
    const auto held = static_cast<int>(std::min<uint64_t>(looked_ms_ - began_ms_, kSlowMs));
    return kSlowMs - held + kClockStepMs;
}

void ExchangeWatch::report(unsigned held_ms) {
    reported_ = true;
    if (header_ == nullptr) {
        FRWK_WARN_AS(kExchange, "process %d has held the service for %u ms: %s", peer_pid(fd_), held_ms,
                     in_words(longest_));
        return;
    }
    FRWK_WARN_AS(kExchange, "process %d, module [%s], has held the service for %u ms with [%s:%d]: %s",
                 peer_pid(fd_), sender_alias(header_->src), held_ms, frwk_ipc_message_name(header_->msgid),
                 header_->msgid, in_words(longest_));
}

IpcWaited ExchangeWatch::wait(int fd, short events, uint32_t) {
    return events == POLLIN ? wait_for_request(fd) : wait_for_reader(fd);
}

/* A signal that is handled on this thread ends the wait. */
IpcWaited ExchangeWatch::wait_for_request(int fd) {
    // A connection is accepted before its sender has written: mostly the sender only needs its turn.
    if (!yielded_) {
        yielded_ = true;
        (void)::sched_yield();
        return IpcWaited::kReady;
    }
    pollfd peer = {fd, POLLIN, 0};
    const int result = ::poll(&peer, 1, kIpcReceiveLimitSeconds * kMsPerSecond);
    const int error = errno;
    look();
    errno = error;
    if (result > 0) {
        return IpcWaited::kReady;
    }
    return result == 0 ? IpcWaited::kTimeout : IpcWaited::kFailed;
}

/* Who doesn't read its answer is told of while it is so, since there may be no end to it. */
IpcWaited ExchangeWatch::wait_for_reader(int fd) {
    for (;;) {
        pollfd peer = {fd, POLLOUT, 0};
        const int result = ::poll(&peer, 1, reported_ ? -1 : ms_until_slow());
        const int error = errno;
        look();
        if (result > 0) {
            return IpcWaited::kReady;
        }
        if (result < 0 && error != EINTR) {
            errno = error;
            return IpcWaited::kFailed;
        }
    }
}
