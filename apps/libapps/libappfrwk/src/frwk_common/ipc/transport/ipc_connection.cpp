/*
 * Reads and writes on Unix-domain stream sockets. Waits use poll, not select, since a descriptor of 1024 or
 * more would overrun select's descriptor set.
 */
#include "frwk_common/ipc/transport/ipc_connection.h"

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
#include "internal/frwk_log.h"

namespace ipc {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/* Converts a time limit for poll, clamped to its maximum. */
int poll_limit(milliseconds limit) {
    return static_cast<int>(std::min<int64_t>(limit.count(), INT_MAX));
}

/* Sets the time limit of a blocking call on the socket. option: SO_SNDTIMEO or SO_RCVTIMEO. */
bool set_limit(int fd, int option, Clock::duration limit) {
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(limit - whole);
    timeval value = {};
    value.tv_sec = static_cast<decltype(value.tv_sec)>(std::min<int64_t>(whole.count(), INT_MAX));
    value.tv_usec = static_cast<decltype(value.tv_usec)>(rest.count());
    return ::setsockopt(fd, SOL_SOCKET, option, &value, sizeof(value)) >= 0;
}

/* Waits for a connect in progress. The first read or write reports its failure. */
bool connect_in_progress(int fd, milliseconds timeout) {
    pollfd writable = {fd, POLLOUT, 0};
    return ::poll(&writable, 1, poll_limit(timeout)) > 0;
}

/* Whether a failed read or write may be retried. */
bool may_go_on(int error) {
    return error == EAGAIN || error == EINTR;
}

/* Waits for more bytes. Returns 1 to retry, otherwise the result of the read, after logging it. */
int32_t wait_for_bytes(int fd, uint32_t done, Wait &wait) {
    switch (wait.wait(fd, POLLIN, done)) {
        case Waited::kReady:
            return 1;
        case Waited::kTimeout:
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
bool wait_for_room(int fd, uint32_t done, Wait &wait) {
    const Waited waited = wait.wait(fd, POLLOUT, done);
    if (waited == Waited::kTimeout) {
        errno = ETIMEDOUT;
    }
    return waited == Waited::kReady;
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

}  // namespace

/* A non-blocking socket has no other flags, so F_GETFL is not needed. */
bool Connection::make_blocking() {
    if (mode_ == Mode::kNonBlocking && ::fcntl(fd_.get(), F_SETFL, 0) >= 0) {
        mode_ = Mode::kBlocking;
    }
    return mode_ == Mode::kBlocking;
}

/*
 * Lets reads or writes block for a moment if so much is left that a poll for each piece would cost more.
 * Returns whether they may block.
 */
bool Connection::may_block(uint32_t left, int option) {
    constexpr uint32_t kMuch = 128 * 1024;
    constexpr std::chrono::milliseconds kMoment(100);
    return left >= kMuch && make_blocking() && set_limit(fd_.get(), option, kMoment);
}

bool Connection::try_to_reach(const Address &address) {
    return ::connect(fd_.get(), address.get(), Address::size()) == 0;
}

/*
 * Waits while the receiver's backlog is full. A blocking connect is woken when a place is free; poll doesn't
 * report that for a socket that is not connected.
 */
bool Connection::reach_when_free(const Address &address, milliseconds timeout) {
    if (!make_blocking()) {
        return false;
    }
    const auto deadline = Clock::now() + timeout;
    do {
        const auto left = deadline - Clock::now();
        if (left < std::chrono::microseconds(1)) {
            errno = EAGAIN;
            return false;
        }
        if (!set_limit(fd_.get(), SO_SNDTIMEO, left)) {
            return false;
        }
        if (try_to_reach(address)) {
            return true;
        }
    } while (errno == EINTR);
    return false;
}

/* Tries to connect at once, then waits up to the limit. */
bool Connection::reach(const Address &address, milliseconds timeout) {
    if (try_to_reach(address)) {
        return true;
    }
    if (errno == EAGAIN && timeout.count() > 0) {
        // Yield first: a receiver that runs now drains its whole backlog. If we block instead, it is woken
        // once per slot.
        (void)::sched_yield();
        if (try_to_reach(address)) {
            return true;
        }
    }
    if (errno == EAGAIN) {
        return reach_when_free(address, timeout);
    }
    return errno == EINPROGRESS && connect_in_progress(fd_.get(), timeout);
}

Connection Connection::open_within(uint32_t module, milliseconds timeout) {
    Connection made(UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
                    Mode::kNonBlocking);
    if (!made) {
        FRWK_WARN_ERRNO(log_name::kIpcConnect, "socket create error!");
        return made;
    }
    if (!made.reach(address_of(frwk_module_name(static_cast<int32_t>(module))), timeout)) {
        made.fd_.reset();
    }
    return made;
}

Connection Connection::accept(int listener) {
    // cppcheck-suppress nullPointer ; accept4 allows a null address
    return Connection(UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)), Mode::kBlocking);
}

/* Same results as receive. */
int32_t Connection::read_at_least(void *buf, uint32_t least, uint32_t most, Reading reading, Wait &wait) {
    int flags = MSG_DONTWAIT;
    uint32_t total = 0;
    while (total < least) {
        errno = 0;
        const ssize_t count = ::recv(fd_.get(), static_cast<char *>(buf) + total, most - total, flags);
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
            may_block(least - total, SO_RCVTIMEO)) {
            flags = MSG_WAITALL;
            continue;
        }
        const int32_t more = wait_for_bytes(fd_.get(), total, wait);
        if (more <= 0) {
            return more;
        }
    }
    return static_cast<int32_t>(total);
}

int32_t Connection::receive(void *buf, uint32_t least, uint32_t most, Wait &wait) {
    return read_at_least(buf, least, most, Reading::kLooking, wait);
}

int32_t Connection::receive_later(void *buf, uint32_t least, uint32_t most, Wait &wait) {
    const int32_t there = wait_for_bytes(fd_.get(), 0, wait);
    return there > 0 ? receive(buf, least, most, wait) : there;
}

int32_t Connection::receive_stream(void *buf, uint32_t size, Wait &wait) {
    return read_at_least(buf, size, size, Reading::kStreaming, wait);
}

int32_t Connection::send(const void *head, uint32_t head_size, const void *rest, uint32_t rest_size,
                         Wait &wait) {
    const uint32_t size = head_size + rest_size;
    int flags = MSG_DONTWAIT;
    uint32_t total = 0;
    while (total < size) {
        errno = 0;
        const ssize_t count = put_parts(fd_.get(), total, head, head_size, rest, rest_size, flags);
        if (count <= 0 && !may_go_on(errno)) {
            FRWK_WARN_ERRNO(log_name::kIpcSend, "ipc send error!");
            break;
        }
        total += count > 0 ? static_cast<uint32_t>(count) : 0;
        if (total >= size) {
            break;
        }
        if (flags == MSG_DONTWAIT && may_block(size - total, SO_SNDTIMEO)) {
            flags = 0;
            continue;
        }
        if (count <= 0 && !wait_for_room(fd_.get(), total, wait)) {
            FRWK_WARN_ERRNO(log_name::kIpcSend, "ipc send error!");
            break;
        }
    }
    return static_cast<int32_t>(total);
}

}  // namespace ipc
