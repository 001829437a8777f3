#include "frwk_common/ipc/server/served_peer.h"

#include <pthread.h>
#include <sys/socket.h>

namespace ipc {

namespace {

/* Written before the first connection is noted. */
std::atomic<pthread_t> g_serving_thread{};

}  // namespace

std::atomic<int> g_served_fd{-1};

void begin_serving() {
    g_serving_thread = ::pthread_self();
}

void end_serving() {
    g_served_fd = -1;
}

}  // namespace ipc

/* Other threads handle the module's messages to itself, at the same time. */
int32_t frwk_ipc_peer(frwk_ipc_peer_t *peer) {
    const int fd = ipc::g_served_fd.load(std::memory_order_relaxed);
    if (fd < 0 || ::pthread_equal(::pthread_self(), ipc::g_serving_thread) == 0) {
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
