#include "frwk_common/ipc/server/served_peer.h"

#include <pthread.h>
#include <sys/socket.h>

namespace ipc {

std::atomic<int> g_served_fd{-1};

namespace {

/* Written before the first connection is noted. */
std::atomic<pthread_t> g_serving_thread{};

/* The connection of the exchange that this thread finishes apart; -1 for none. */
thread_local int t_apart_fd = -1;

/* The connection whose message the calling thread handles; -1 for none. */
int fd_of_message() {
    if (t_apart_fd >= 0) {
        return t_apart_fd;
    }
    return ::pthread_equal(::pthread_self(), g_serving_thread) != 0
               ? g_served_fd.load(std::memory_order_relaxed)
               : -1;
}

}  // namespace

void begin_serving() {
    g_serving_thread = ::pthread_self();
}

void note_served_apart(int fd) {
    t_apart_fd = fd;
}

void end_serving() {
    g_served_fd = -1;
    t_apart_fd = -1;
}

}  // namespace ipc

/* Other threads handle the module's messages to itself, at the same time. */
int32_t frwk_ipc_peer(frwk_ipc_peer_t *peer) {
    const int fd = ipc::fd_of_message();
    if (fd < 0) {
        return 0;
    }
    ucred found = {};
    socklen_t size = sizeof(found);
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &found, &size) != 0) {
        return 0;
    }
    *peer = {static_cast<int32_t>(found.pid), static_cast<uint32_t>(found.uid)};
    return 1;
}
