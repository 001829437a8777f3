/*
 * Opens connections, and reads and writes exact numbers of bytes. Does not interpret messages. Any thread.
 *
 * Reads and writes don't block, whatever the descriptor's flags: the caller's IpcWait waits for the peer. A
 * large read or write may block for 100 ms before that.
 */
#pragma once

#include <cstdint>

#include "frwk_common/ipc/transport/ipc_wait.h"

/*
 * Opens a connection to a module's socket. module: 1 to 52. timeout: seconds to wait while the receiver's
 * backlog is full. Returns a descriptor, owned by the caller, or -1.
 */
int frwk_ipc_connect(uint32_t module, uint32_t timeout);

/*
 * Reads at least "least" bytes, and further bytes that have arrived, up to "most" (least or more).
 * Returns the number of bytes read; fewer than least if the peer closed or the read failed; 0 after a
 * time-out, even if bytes were read; negative if the wait failed.
 */
int32_t frwk_ipc_recv(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait);

/* The same for bytes that have probably not arrived yet: waits before the first read. */
int32_t frwk_ipc_recv_later(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait);

/*
 * The same for exactly size bytes, which may be many. It may block for up to 100 ms before it uses the
 * caller's wait.
 */
int32_t frwk_ipc_recv_stream(int fd, void *buf, uint32_t size, IpcWait &wait);

/*
 * Writes a head and a rest, with one call if the socket has room.
 * rest, rest_size: null and 0 for none.
 * Returns the number of bytes written, including the head; fewer if the peer closed or the wait timed out.
 */
int32_t frwk_ipc_send(int fd, const void *head, uint32_t head_size, const void *rest, uint32_t rest_size,
                      IpcWait &wait);
