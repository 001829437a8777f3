#include "frwk_common/ipc/server/accept_recovery.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/ipc/transport/ipc_connection.h"
#include "internal/coarse_clock.h"
#include "internal/frwk_log.h"

namespace ipc {

namespace {

constexpr uint32_t kAcceptPauseMs = 100;

constexpr uint64_t kSayEachMs = 1000;

bool out_of_descriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

bool concerns_one_connection(int error) {
    return error == EINTR || error == ECONNABORTED;
}

/* Waits without limit for a pending connection. Returns false if poll fails. */
bool wait_for_peer(int listener) {
    pollfd queue = {listener, POLLIN, 0};
    return ::poll(&queue, 1, -1) > 0;
}

}  // namespace

bool SpareFd::shed(int listener) {
    fd_.reset();
    const bool dropped = static_cast<bool>(Connection::accept(listener));
    open();
    return dropped;
}

void SpareFd::open() {
    fd_.reset(::open(paths::kNullDevice, O_RDONLY | O_CLOEXEC));
}

void DropNotice::dropped() {
    ++dropped_;
    unsaid_ = true;
    if (dropped_ == 1 || coarse_ms() - said_ms_ >= kSayEachMs) {
        say();
    }
}

void DropNotice::say() {
    unsaid_ = false;
    said_ms_ = coarse_ms();
    FRWK_WARN(log_name::kIpcLoop, "no descriptor left: connections dropped so far: %u", dropped_);
}

void AcceptRecovery::after_failure(int listener, int error) {
    if (concerns_one_connection(error)) {
        return;
    }
    if (listener < 0 || !out_of_descriptors(error) || !make_way(listener)) {
        frwk_sleep(kAcceptPauseMs);
    }
}

bool AcceptRecovery::make_way(int listener) {
    const bool retry = !retried_;
    retried_ = retry;
    return retry ? wait_for_peer(listener) : shed(listener);
}

bool AcceptRecovery::shed(int listener) {
    const bool dropped = spare_.shed(listener);
    if (dropped) {
        notice_.dropped();
    }
    return dropped;
}

}  // namespace ipc
