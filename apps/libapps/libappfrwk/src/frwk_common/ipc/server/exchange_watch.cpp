/*
 * Measures and limits an exchange. Reads the clock when an exchange begins, after a wait, and after the
 * handler: twice for an exchange without waits.
 */
#include "frwk_common/ipc/server/exchange_watch.h"

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/transport/ipc_trace.h"
#include "internal/frwk_log.h"

namespace ipc {

namespace {

constexpr uint64_t kMsPerSecond = 1000;

constexpr uint64_t kReceiveLimitMs = kIpcReceiveLimitSeconds * kMsPerSecond;

/* A longer exchange is logged. */
constexpr uint64_t kSlowMs = 1000;

/* Longer than the kernel's slowest tick. */
constexpr uint64_t kClockStepMs = 20;

constexpr uint64_t kForever = UINT64_MAX;

/* 0 for none. */
uint64_t exchange_limit_ms() {
    return g_s_exchange_limit_s * kMsPerSecond;
}

uint64_t left_of(uint64_t limit_ms, uint64_t passed_ms) {
    if (limit_ms == 0) {
        return kForever;
    }
    return limit_ms > passed_ms ? limit_ms - passed_ms : 0;
}

/* Converts milliseconds for poll. */
int poll_limit(uint64_t ms) {
    return ms == kForever ? -1 : static_cast<int>(std::min<uint64_t>(ms, INT_MAX));
}

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

/* Returns 0 if the kernel doesn't know it. */
int peer_pid(int fd) {
    ucred peer = {};
    socklen_t size = sizeof(peer);
    return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? static_cast<int>(peer.pid) : 0;
}

/* The sender's id comes from the message: it may be an empty slot, or out of range. */
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

/* The coarse clock may be late by one step. */
uint64_t ExchangeWatch::ms_until_slow() const {
    const uint64_t held = looked_ms_ - began_ms_;
    return held < kSlowMs ? kSlowMs - held + kClockStepMs : kClockStepMs;
}

void ExchangeWatch::report(unsigned held_ms) {
    reported_ = true;
    if (header_ == nullptr) {
        FRWK_WARN(log_name::kIpcHandle, "process %d has held the service for %u ms: %s",
                  peer_pid(connection_.fd()), held_ms, in_words(longest_));
        return;
    }
    FRWK_WARN(log_name::kIpcHandle,
              "process %d, module [%s], has held the service for %u ms with [%s:%d]: %s",
              peer_pid(connection_.fd()), sender_alias(header_->src), held_ms, message_name(header_->msgid),
              header_->msgid, in_words(longest_));
}

Waited ExchangeWatch::wait(int fd, short events, uint32_t done) {
    return events == POLLIN ? wait_for_request(fd) : wait_for_reader(fd, done);
}

/* A signal handler that runs on this thread ends the wait. */
Waited ExchangeWatch::wait_for_request(int fd) {
    // A connection is accepted before its sender has written. Yield first: the sender usually writes at once.
    if (!yielded_) {
        yielded_ = true;
        (void)::sched_yield();
        return Waited::kReady;
    }
    const uint64_t left = left_of(exchange_limit_ms(), looked_ms_ - began_ms_);
    pollfd peer = {fd, POLLIN, 0};
    const int result = ::poll(&peer, 1, static_cast<int>(std::min(left, kReceiveLimitMs)));
    const int error = errno;
    look();
    if (result < 0) {
        errno = error;
        return Waited::kFailed;
    }
    const bool in_time = left_of(exchange_limit_ms(), looked_ms_ - began_ms_) > 0;
    return result > 0 && in_time ? Waited::kReady : Waited::kTimeout;
}

void ExchangeWatch::note_progress(uint32_t done) {
    look();
    if (done != moved_) {
        moved_ = done;
        moved_ms_ = looked_ms_;
        tried_ = false;
    }
}

/* poll reports room only after the peer has read several pieces, so try one more write at the limit. */
Waited ExchangeWatch::end_of_patience() {
    return std::exchange(tried_, true) ? Waited::kTimeout : Waited::kReady;
}

/* A peer that doesn't read its answer is logged during the wait, since the wait may never end. */
Waited ExchangeWatch::wait_for_reader(int fd, uint32_t done) {
    note_progress(done);
    for (;;) {
        const uint64_t patience = left_of(exchange_limit_ms(), looked_ms_ - moved_ms_);
        const uint64_t silence = reported_ ? kForever : ms_until_slow();
        pollfd peer = {fd, POLLOUT, 0};
        const int result = ::poll(&peer, 1, poll_limit(std::min(patience, silence)));
        const int error = errno;
        look();
        if (result > 0) {
            return Waited::kReady;
        }
        if (result < 0 && error != EINTR) {
            errno = error;
            return Waited::kFailed;
        }
        if (left_of(exchange_limit_ms(), looked_ms_ - moved_ms_) == 0) {
            return end_of_patience();
        }
    }
}

}  // namespace ipc
