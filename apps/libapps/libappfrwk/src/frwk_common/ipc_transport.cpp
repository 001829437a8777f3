/*
 * Bytes over Unix-domain stream sockets. A pending connection and a silent peer are waited for with poll,
 * never with a descriptor set, which a descriptor of 1024 or more would overrun.
 */
#include "frwk_common/ipc_transport.h"

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
#include "frwk_common/ipc_address.h"
#include "internal/frwk_log.h"
#include "internal/owned.h"

namespace {

constexpr uint32_t kMillisecondsPerSecond = 1000;

/* Seconds as poll takes them; more than it can count is as long as it can count. */
int poll_limit(uint32_t seconds) {
    constexpr uint32_t kMost = INT_MAX / kMillisecondsPerSecond;
    return static_cast<int>(std::min(seconds, kMost) * kMillisecondsPerSecond);
}

/* The flags of a socket that was just made are known: none but the one to take away. */
bool set_blocking(int fd) {
    return ::fcntl(fd, F_SETFL, 0) >= 0;
}

using Clock = std::chrono::steady_clock;

/* How long one blocking call on the socket may wait for its peer; zero for no limit. */
bool set_send_limit(int fd, Clock::duration limit) {
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(limit - whole);
    timeval value = {};
    value.tv_sec = static_cast<decltype(value.tv_sec)>(std::min<int64_t>(whole.count(), INT_MAX));
    value.tv_usec = static_cast<decltype(value.tv_usec)>(rest.count());
    return ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &value, sizeof(value)) >= 0;
}

/*
 * Waits in the receiver's full queue. The kernel wakes the call when a place is free, which poll can't tell
 * of a socket that has not connected yet.
 */
bool connect_when_free(int fd, const IpcAddress &address, uint32_t timeout) {
    if (!set_blocking(fd)) {
        return false;
    }
    const auto deadline = Clock::now() + std::chrono::seconds(timeout);
    do {
        const auto left = deadline - Clock::now();
        if (left < std::chrono::microseconds(1) || !set_send_limit(fd, left)) {
            return false;
        }
        if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
            return true;
        }
    } while (errno == EINTR);
    return false;
}

/* Waits for a connect in progress. What became of it shows at the first read or write. */
bool connect_in_progress(int fd, uint32_t timeout) {
    pollfd writable = {fd, POLLOUT, 0};
    return ::poll(&writable, 1, poll_limit(timeout)) > 0;
}

/* What is left to do until a write waits as long as it takes. */
enum class Connected {
    kNonBlocking,
    kLimited,
    kFailed
};

Connected connect_within(int fd, const IpcAddress &address, uint32_t timeout) {
    if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
        return Connected::kNonBlocking;
    }
    if (errno == EAGAIN && timeout > 0) {
        // A receiver that gets its turn empties its queue; one that is woken for each place makes room for
        // one.
        (void)::sched_yield();
        if (::connect(fd, address.get(), IpcAddress::size()) == 0) {
            return Connected::kNonBlocking;
        }
    }
    if (errno == EAGAIN) {
        return connect_when_free(fd, address, timeout) ? Connected::kLimited : Connected::kFailed;
    }
    const bool connected = errno == EINPROGRESS && connect_in_progress(fd, timeout);
    return connected ? Connected::kNonBlocking : Connected::kFailed;
}

/* state: not a failure. */
bool make_patient(int fd, Connected state) {
    return state == Connected::kLimited ? set_send_limit(fd, Clock::duration::zero()) : set_blocking(fd);
}

/* Opens a connection to a module's socket; no descriptor where that failed. */
UniqueFd open_connection(uint32_t module, uint32_t timeout, Connected *state) {
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd) {
        FRWK_WARN_ERRNO_AS("frwk_ipc_connect", "socket create error!");
        return fd;
    }
    *state = connect_within(fd.get(), ipc_address(frwk_module_name(static_cast<int32_t>(module))), timeout);
    if (*state == Connected::kFailed) {
        fd.reset();
    }
    return fd;
}

enum class Wait {
    kReadable,
    kTimeout,
    kFailed
};

Wait wait_readable(int fd, uint32_t seconds) {
    pollfd readable = {fd, POLLIN, 0};
    const int result = ::poll(&readable, 1, poll_limit(seconds));
    if (result > 0) {
        return Wait::kReadable;
    }
    return result == 0 ? Wait::kTimeout : Wait::kFailed;
}

/*
 * Reads until at least this many bytes are there. take: reads what it has room for behind the bytes so far,
 * with the flags of recv. Results as frwk_ipc_recv.
 */
template <typename Take>
int32_t read_at_least(int fd, uint32_t least, int32_t timeout, Take take) {
    // With a limit, what has arrived is taken at once and only an empty queue is waited for.
    const int flags = timeout > 0 ? MSG_DONTWAIT : 0;
    bool yielded = false;
    uint32_t total = 0;
    while (total < least) {
        errno = 0;
        const ssize_t count = take(total, flags);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count == 0 || (count < 0 && (errno != EAGAIN || timeout <= 0))) {
            FRWK_WARN_ERRNO_AS("frwk_ipc_recv", "socket recv size error!");
            return static_cast<int32_t>(total);
        }
        total += count > 0 ? static_cast<uint32_t>(count) : 0;
        // Too few bytes are all that were there, so that one more look would find nothing.
        if (total >= least || timeout <= 0) {
            continue;
        }
        // A connection is accepted before its sender has written: mostly the sender only needs its turn.
        if (!yielded) {
            yielded = true;
            (void)::sched_yield();
            continue;
        }
        const Wait waited = wait_readable(fd, static_cast<uint32_t>(timeout));
        if (waited == Wait::kTimeout) {
            FRWK_NOTICE_AS("frwk_ipc_recv", "select recv timeout!");
            return 0;
        }
        if (waited == Wait::kFailed) {
            FRWK_WARN_ERRNO_AS("frwk_ipc_recv", "select recv error!");
            return -1;
        }
    }
    return static_cast<int32_t>(total);
}

/*
 * Writes until size bytes have gone. put: writes what is left behind the bytes so far, and returns as send
 * does. Results as frwk_ipc_send.
 */
template <typename Put>
int32_t write_whole(uint32_t size, Put put) {
    uint32_t total = 0;
    while (total < size) {
        errno = 0;
        const ssize_t count = put(total, size - total);
        if (count > 0) {
            total += static_cast<uint32_t>(count);
            continue;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        FRWK_WARN_ERRNO_AS("frwk_ipc_send", "ipc send error!");
        break;
    }
    return static_cast<int32_t>(total);
}

/* One write of what is left of two parts behind the first done bytes. */
ssize_t put_parts(int fd, uint32_t done, const void *head, uint32_t head_size, const void *rest,
                  uint32_t rest_size) {
    if (done >= head_size || rest_size == 0) {
        const bool in_rest = done >= head_size;
        const void *part = in_rest ? rest : head;
        const uint32_t begin = in_rest ? done - head_size : done;
        const uint32_t left = head_size + rest_size - done;
        return ::send(fd, static_cast<const char *>(part) + begin, left, MSG_NOSIGNAL);
    }
    iovec parts[2] = {{static_cast<char *>(const_cast<void *>(head)) + done, head_size - done},
                      {const_cast<void *>(rest), rest_size}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    return ::sendmsg(fd, &message, MSG_NOSIGNAL);
}

}  // namespace

int frwk_ipc_connect(uint32_t module, uint32_t timeout) {
    Connected state = Connected::kFailed;
    UniqueFd fd = open_connection(module, timeout, &state);
    return fd && make_patient(fd.get(), state) ? fd.take() : -1;
}

int frwk_ipc_connect_to_tell(uint32_t module, uint32_t timeout) {
    Connected state = Connected::kFailed;
    return open_connection(module, timeout, &state).take();
}

int32_t frwk_ipc_recv(int fd, void *buf, uint32_t size, int32_t timeout) {
    return frwk_ipc_recv_some(fd, buf, size, size, timeout);
}

int32_t frwk_ipc_recv_some(int fd, void *buf, uint32_t least, uint32_t most, int32_t timeout) {
    return read_at_least(fd, least, timeout, [fd, buf, most](uint32_t total, int flags) {
        return ::recv(fd, static_cast<char *>(buf) + total, most - total, flags);
    });
}

int32_t frwk_ipc_send(int fd, const void *buf, uint32_t size) {
    return write_whole(size, [fd, buf](uint32_t total, uint32_t left) {
        return ::send(fd, static_cast<const char *>(buf) + total, left, MSG_NOSIGNAL);
    });
}

int32_t frwk_ipc_tell(int fd, const void *head, uint32_t head_size, const void *rest, uint32_t rest_size) {
    bool patient = false;
    return write_whole(head_size + rest_size, [=, &patient](uint32_t total, uint32_t) {
        ssize_t count = put_parts(fd, total, head, head_size, rest, rest_size);
        if (count < 0 && errno == EAGAIN && !patient) {
            patient = true;
            const bool made = set_blocking(fd) && set_send_limit(fd, Clock::duration::zero());
            count = made ? put_parts(fd, total, head, head_size, rest, rest_size) : -1;
        }
        return count;
    });
}
