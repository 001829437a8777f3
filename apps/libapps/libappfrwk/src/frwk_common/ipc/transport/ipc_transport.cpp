/*
 * Reads and writes on Unix-domain stream sockets. Waits use poll, not select, since a descriptor of 1024 or
 * more would overrun select's descriptor set.
 */
#include "frwk_common/ipc/transport/ipc_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

#include "frwk_common.h"
#include "frwk_common/ipc/transport/ipc_address.h"
#include "internal/frwk_log.h"
#include "support/unique_fd.h"

namespace {

constexpr uint32_t kMillisecondsPerSecond = 1000;

/* Converts seconds for poll, clamped to its maximum. */
int poll_limit(uint32_t seconds) {
    constexpr uint32_t kMost = INT_MAX / kMillisecondsPerSecond;
    return static_cast<int>(std::min(seconds, kMost) * kMillisecondsPerSecond);
}

/* A new socket has no other flags, so F_GETFL is not needed. */
bool set_blocking(int fd) {
    return ::fcntl(fd, F_SETFL, 0) >= 0;
}

using Clock = std::chrono::steady_clock;

/* Sets the time limit of a blocking call on the socket. option: SO_SNDTIMEO or SO_RCVTIMEO. */
bool set_limit(int fd, int option, Clock::duration limit) {
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(limit - whole);
    timeval value = {};
    value.tv_sec = static_cast<decltype(value.tv_sec)>(std::min<int64_t>(whole.count(), INT_MAX));
    value.tv_usec = static_cast<decltype(value.tv_usec)>(rest.count());
    return ::setsockopt(fd, SOL_SOCKET, option, &value, sizeof(value)) >= 0;
}

/*
 * Lets reads or writes block for a moment if so much is left that a poll for each piece would cost more.
 * Returns whether they may block.
 */
bool may_block(int fd, uint32_t left, int option) {
    constexpr uint32_t kMuch = 128 * 1024;
    constexpr std::chrono::milliseconds kMoment(100);
    return left >= kMuch && set_blocking(fd) && set_limit(fd, option, kMoment);
}

/*
 * Waits while the receiver's backlog is full. A blocking connect is woken when a place is free; poll doesn't
 * report that for a socket that is not connected.
 */
bool connect_when_free(int fd, const IpcAddress &address, uint32_t timeout) {
    if (!set_blocking(fd)) {
        return false;
    }
    const auto deadline = Clock::now() + std::chrono::seconds(timeout);
    do {
        const auto left = deadline - Clock::now();
        if (left < std::chrono::microseconds(1) || !set_limit(fd, SO_SNDTIMEO, left)) {
            return false;
        }
        if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
            return true;
        }
    } while (errno == EINTR);
    return false;
}

/* Waits for a connect in progress. The first read or write reports its failure. */
bool connect_in_progress(int fd, uint32_t timeout) {
    pollfd writable = {fd, POLLOUT, 0};
    return ::poll(&writable, 1, poll_limit(timeout)) > 0;
}

/* Tries to connect at once, then waits up to the limit. */
bool connect_within(int fd, const IpcAddress &address, uint32_t timeout) {
    if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
        return true;
    }
    if (errno == EAGAIN && timeout > 0) {
        // Yield first: a receiver that runs now drains its whole backlog. If we block instead, it is woken
        // once per slot.
        (void)::sched_yield();
        if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
            return true;
        }
    }
    if (errno == EAGAIN) {
        return connect_when_free(fd, address, timeout);
    }
    return errno == EINPROGRESS && connect_in_progress(fd, timeout);
}

/* Whether a failed read or write may be retried. */
bool may_go_on(int error) {
    return error == EAGAIN || error == EINTR;
}

/* Waits for more bytes. Returns 1 to retry, otherwise the result of the read, after logging it. */
int32_t wait_for_bytes(int fd, uint32_t done, IpcWait &wait) {
    switch (wait.wait(fd, POLLIN, done)) {
        case IpcWaited::kReady:
            return 1;
        case IpcWaited::kTimeout:
            FRWK_NOTICE(log_name::kIpcRecv, "select recv timeout!");
            return 0;
        default:
            FRWK_WARN_ERRNO(log_name::kIpcRecv, "select recv error!");
            if (errno == EINTR) {
                FRWK_WARN(log_name::kIpcRecv,
                          "a signal handler ran on this thread and ended its wait: block the signal "
                          "before frwk_module_init and take it on the main thread");
            }
            return -1;
    }
}

/* Waits until more can be written. Returns false, with errno set, after a failure or time-out. */
bool wait_for_room(int fd, uint32_t done, IpcWait &wait) {
    const IpcWaited waited = wait.wait(fd, POLLOUT, done);
    if (waited == IpcWaited::kTimeout) {
        errno = ETIMEDOUT;
    }
    return waited == IpcWaited::kReady;
}

/* Writes the rest of two parts with one call. done: bytes already written. */
ssize_t put_parts(int fd, uint32_t done, const void *head, uint32_t head_size, const void *rest,
                  uint32_t rest_size, int flags) {
    if (done >= head_size || rest_size == 0) {
        const bool in_rest = done >= head_size;
        const void *part = in_rest ? rest : head;
        const uint32_t begin = in_rest ? done - head_size : done;
        const uint32_t left = head_size + rest_size - done;
        return ::send(fd, static_cast<const char *>(part) + begin, left, flags | MSG_NOSIGNAL);
    }
    iovec parts[2] = {{static_cast<char *>(const_cast<void *>(head)) + done, head_size - done},
                      {const_cast<void *>(rest), rest_size}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    return ::sendmsg(fd, &message, flags | MSG_NOSIGNAL);
}

enum class Reading {
    kLooking,  /* non-blocking; the caller's wait does the waiting */
    kStreaming /* may block for a moment if much is left */
};

/* Same results as frwk_ipc_recv. */
int32_t read_at_least(int fd, void *buf, uint32_t least, uint32_t most, Reading reading, IpcWait &wait) {
    int flags = MSG_DONTWAIT;
    uint32_t total = 0;
    while (total < least) {
        errno = 0;
        const ssize_t count = ::recv(fd, static_cast<char *>(buf) + total, most - total, flags);
        if (count <= 0 && !may_go_on(errno)) {
            FRWK_WARN_ERRNO(log_name::kIpcRecv, "socket recv size error!");
            return static_cast<int32_t>(total);
        }
        total += count > 0 ? static_cast<uint32_t>(count) : 0;
        if (total >= least) {
            break;
        }
        // A short read took all that had arrived, so don't read again before the wait.
        if (reading == Reading::kStreaming && flags == MSG_DONTWAIT &&
            may_block(fd, least - total, SO_RCVTIMEO)) {
            flags = MSG_WAITALL;
            continue;
        }
        const int32_t more = wait_for_bytes(fd, total, wait);
        if (more <= 0) {
            return more;
        }
    }
    return static_cast<int32_t>(total);
}

}  // namespace

int frwk_ipc_connect(uint32_t module, uint32_t timeout) {
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd) {
        FRWK_WARN_ERRNO(__func__, "socket create error!");
        return -1;
    }
    const IpcAddress address = ipc_address(frwk_module_name(static_cast<int32_t>(module)));
    return connect_within(fd.get(), address, timeout) ? fd.take() : -1;
}

int32_t frwk_ipc_recv(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait) {
    return read_at_least(fd, buf, least, most, Reading::kLooking, wait);
}

int32_t frwk_ipc_recv_later(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait) {
    const int32_t there = wait_for_bytes(fd, 0, wait);
    return there > 0 ? frwk_ipc_recv(fd, buf, least, most, wait) : there;
}

int32_t frwk_ipc_recv_stream(int fd, void *buf, uint32_t size, IpcWait &wait) {
    return read_at_least(fd, buf, size, size, Reading::kStreaming, wait);
}

int32_t frwk_ipc_send(int fd, const void *head, uint32_t head_size, const void *rest, uint32_t rest_size,
                      IpcWait &wait) {
    const uint32_t size = head_size + rest_size;
    int flags = MSG_DONTWAIT;
    uint32_t total = 0;
    while (total < size) {
        errno = 0;
        const ssize_t count = put_parts(fd, total, head, head_size, rest, rest_size, flags);
        if (count <= 0 && !may_go_on(errno)) {
            FRWK_WARN_ERRNO(__func__, "ipc send error!");
            break;
        }
        total += count > 0 ? static_cast<uint32_t>(count) : 0;
        if (total >= size) {
            break;
        }
        if (flags == MSG_DONTWAIT && may_block(fd, size - total, SO_SNDTIMEO)) {
            flags = 0;
            continue;
        }
        if (count <= 0 && !wait_for_room(fd, total, wait)) {
            FRWK_WARN_ERRNO(__func__, "ipc send error!");
            break;
        }
    }
    return static_cast<int32_t>(total);
}
