/*
 * The process at the other end of the connection that is being served. Noted without a system call; the
 * kernel is asked when a handler wants to know it.
 */
#pragma once

#include <atomic>

#include "internal/service_calls.h"

namespace ipc {

/* The connection of the exchange in progress, or of the last one; -1 before the first one. */
extern std::atomic<int> g_served_fd;

/* Notes the calling thread as the one that serves connections. */
void begin_serving();

/* Notes the next exchange's connection. */
inline void note_served(int fd) {
    g_served_fd.store(fd, std::memory_order_relaxed);
}

/* Notes the connection of the exchange that the calling thread finishes apart from the service thread. */
void note_served_apart(int fd);

/* In a forked child, which serves nobody. */
void end_serving();

}  // namespace ipc
