/*
 * In front of the functions for sockets, processes, threads and time. Nobody sleeps long while calls are
 * counted.
 */
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <spawn.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <atomic>

#include "faults/in_front.h"
#include "faults/time_passed.h"

using faults::Call;
using faults::Fault;
using faults::transfer;

namespace {

constexpr int64_t kNanosPerSecond = 1000000000;

std::atomic<int64_t> g_cut_off{0}; /* nanoseconds */

int64_t in_nanoseconds(const timespec &time) {
    return int64_t{time.tv_sec} * kNanosPerSecond + time.tv_nsec;
}

/* How long a sleep from now on lasts. */
int64_t length_of_sleep(clockid_t clock, int flags, const timespec &time) {
    timespec now = {};
    if ((flags & TIMER_ABSTIME) != 0) {
        (void)::clock_gettime(clock, &now);
    }
    return std::max<int64_t>(in_nanoseconds(time) - in_nanoseconds(now), 0);
}

/* Short: only a part of the first piece. */
template <typename Pass>
ssize_t transfer_message(Call call, msghdr *message, Pass pass) {
    const size_t whole = message->msg_iov[0].iov_len;
    return transfer(call, whole, [=](size_t part) {
        iovec piece = {message->msg_iov[0].iov_base, part};
        msghdr shorter = *message;
        shorter.msg_iov = &piece;
        shorter.msg_iovlen = 1;
        return pass(part == whole ? message : &shorter);
    });
}

}  // namespace

std::chrono::nanoseconds faults::cut_off_sleeps() {
    return std::chrono::nanoseconds(g_cut_off);
}

QUOR_IN_FRONT(ssize_t, recv, (int fd, void *to, size_t size, int flags)) {
    QUOR_REAL(ssize_t, recv, (int, void *, size_t, int));
    return transfer(Call::recv, size, [=](size_t part) { return real(fd, to, part, flags); });
}

QUOR_IN_FRONT(ssize_t, sendmsg, (int fd, const msghdr *message, int flags)) {
    QUOR_REAL(ssize_t, sendmsg, (int, const msghdr *, int));
    msghdr own = *message;
    return transfer_message(Call::sendmsg, &own, [=](msghdr *given) { return real(fd, given, flags); });
}

QUOR_IN_FRONT(ssize_t, send, (int fd, const void *from, size_t size, int flags)) {
    QUOR_REAL(ssize_t, send, (int, const void *, size_t, int));
    return transfer(Call::send, size, [=](size_t part) { return real(fd, from, part, flags); });
}

/* The calls of a child that a library forks are not the caller's. */
QUOR_IN_FRONT(pid_t, fork, ()) {
    QUOR_REAL(pid_t, fork, ());
    const Fault fault = faults::take(Call::fork);
    if (fault.way != Fault::Way::kNone) {
        return faults::refuse<pid_t>(fault, -1);
    }
    const pid_t child = real();
    if (child == 0) {
        faults::leave_run();
    }
    return child;
}

QUOR_IN_FRONT(ssize_t, getrandom, (void *to, size_t size, unsigned flags)) {
    QUOR_REAL(ssize_t, getrandom, (void *, size_t, unsigned));
    const Fault fault = faults::take_from(Call::getrandom, __builtin_return_address(0));
    return fault.way == Fault::Way::kNone ? real(to, size, flags) : faults::refuse<ssize_t>(fault, -1);
}

QUOR_IN_FRONT(int, clock_nanosleep, (clockid_t clock, int flags, const timespec *time, timespec *left)) {
    QUOR_REAL(int, clock_nanosleep, (clockid_t, int, const timespec *, timespec *));
    if (!faults::watched()) {
        return real(clock, flags, time, left);
    }
    const Fault fault = faults::take(Call::clock_nanosleep);
    if (fault.way == Fault::Way::kNone) {
        constexpr timespec kMoment = {0, 1000000};
        const int64_t whole = length_of_sleep(clock, flags, *time);
        (void)real(clock, 0, &kMoment, nullptr);
        g_cut_off += std::max<int64_t>(whole - in_nanoseconds(kMoment), 0);
        return 0;
    }
    if (left != nullptr) {
        *left = {};
    }
    return fault.error;
}
