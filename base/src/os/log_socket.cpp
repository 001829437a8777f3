/*
 * Sends lines to the system's log daemon.
 */
#include "log_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>

#include "support/log_line.h"
#include "support/unique_fd.h"

namespace {

constexpr sockaddr_un kDaemon = {AF_UNIX, "/dev/log"};

/*
 * A running daemon reads a line in far less time. The wait is needed for bursts, since the kernel queues only
 * ten lines. After a time-out there is no further wait until the daemon reads a line again.
 */
constexpr int kPatienceMs = 100;

/*
 * Takes ownership of a new descriptor and returns one above 2. A socket with descriptor 0, 1 or 2 would send
 * the daemon everything that other libraries print.
 */
int above_standard_descriptors(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const UniqueFd low(fd);
    return fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

}  // namespace

/* The module may have closed the descriptor, and another file may have its number now. */
bool LogSocket::is_open() {
    struct stat found;
    if (fd_ >= 0 && (fstat(fd_, &found) != 0 || found.st_dev != device_ || found.st_ino != inode_)) {
        fd_ = -1;
    }
    return fd_ >= 0;
}

bool LogSocket::open(int type) {
    UniqueFd fd(above_standard_descriptors(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)));
    struct stat found;
    if (!fd || connect(fd.get(), reinterpret_cast<const sockaddr *>(&kDaemon), sizeof(kDaemon)) != 0 ||
        fstat(fd.get(), &found) != 0) {
        return false;
    }
    device_ = found.st_dev;
    inode_ = found.st_ino;
    type_ = type;
    fd_ = fd.take();
    return true;
}

/* Some daemons accept only stream sockets. */
bool LogSocket::open() {
    return open(SOCK_DGRAM) || (errno == EPROTOTYPE && open(SOCK_STREAM));
}

void LogSocket::close() {
    ::close(fd_);
    fd_ = -1;
}

void LogSocket::begin_line(int level) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);

    head_.clear();
    add_system_head(head_, level | facility_, parts, tag_ != nullptr ? tag_ : program_invocation_short_name,
                    getpid());
}

/* In a stream a line ends with a NUL. After a partial line the connection must be closed to end the line. */
LogSocket::Sent LogSocket::send(const LogText &line) const {
    const size_t end = type_ == SOCK_STREAM ? 1 : 0;
    iovec parts[] = {{const_cast<char *>(head_.text()), head_.length()},
                     {const_cast<char *>(line.text()), line.length() + end}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = std::size(parts);

    const ssize_t sent = sendmsg(fd_, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent == static_cast<ssize_t>(parts[0].iov_len + parts[1].iov_len)) {
        return Sent::kWhole;
    }
    return sent < 0 && errno == EAGAIN ? Sent::kNoRoom : Sent::kBroken;
}

/* Returns false if there is no room. A wait that the budget cut short doesn't show that the daemon stalls. */
bool LogSocket::wait_for_room() {
    const int limit = stalled_ ? 0 : std::min(kPatienceMs, budget_.begin_wait());
    if (limit == 0) {
        return false;
    }
    pollfd room = {fd_, POLLOUT, 0};
    const bool timed_out = poll(&room, 1, limit) == 0;
    budget_.end_wait();
    stalled_ = timed_out && limit == kPatienceMs;
    return !timed_out;
}

bool LogSocket::deliver(int level, const LogText &line) {
    const bool was_open = is_open();
    if (!was_open && !open()) {
        return false;
    }
    begin_line(level);
    Sent sent = send(line);
    if (sent == Sent::kNoRoom && wait_for_room()) {
        sent = send(line);
    }
    if (sent == Sent::kBroken) {
        close();
        sent = was_open && open() ? send(line) : Sent::kBroken;
    }
    stalled_ = stalled_ && sent != Sent::kWhole;
    return sent == Sent::kWhole;
}

/* A forked child starts a new count: the parent reports the parent's losses. */
void LogSocket::count_loss() {
    const pid_t self = getpid();
    losses_ = lost_by_ == self ? losses_ + 1 : 1;
    lost_by_ = self;
}

bool LogSocket::tell_losses() {
    if (losses_ == 0 || lost_by_ != getpid()) {
        return true;
    }
    count_.clear();
    count_.add("lines that the system log did not take: ");
    count_.add_number(losses_);
    losses_ = deliver(LOG_WARNING, count_) ? 0 : losses_;
    return losses_ == 0;
}

void LogSocket::write(int level, const LogText &line) {
    if (!tell_losses() || !deliver(level, line)) {
        count_loss();
    }
}
