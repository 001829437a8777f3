/*
 * Exact-length reads and writes on a connection, and opening one. Knows bytes, nothing of messages. Any
 * thread.
 *
 * No read or write blocks, whatever the descriptor's flags: where the peer has to be waited for, the caller's
 * IpcWait does it. Where much is read or written at once, it may block for 100 ms before that.
 */
#pragma once

#include <cstdint>

#include "frwk_common/ipc/transport/ipc_wait.h"

/*
 * Opens a connection to a module's socket. module: 1 to 52. timeout: seconds to wait while the receiver's
 * queue is full. Returns a descriptor, which the caller closes, or -1.
 */
int frwk_ipc_connect(uint32_t module, uint32_t timeout);

/*
 * Reads at least least bytes; what else has arrived is taken too, up to most bytes (least or more).
 * Returns the bytes read; fewer than least when the peer closed or the read failed; 0 after a time-out,
 * whatever was read before; negative when the wait failed.
 */
int32_t frwk_ipc_recv(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait);

/* The same for bytes that are hardly there yet: waits before it looks. */
int32_t frwk_ipc_recv_later(int fd, void *buf, uint32_t least, uint32_t most, IpcWait &wait);

/*
 * The same for exactly size bytes, which may be many. It may block up to 100 ms before it turns to the
 * caller's wait.
 */
int32_t frwk_ipc_recv_stream(int fd, void *buf, uint32_t size, IpcWait &wait);

/*
 * Writes a head and what follows it, both in one call as long as there is room.
 * rest, rest_size: 0 for nothing behind the head.
 * Returns the bytes written, those of the head included; fewer when the peer is gone or has had its time.
 */
int32_t frwk_ipc_send(int fd, const void *head, uint32_t head_size, const void *rest, uint32_t rest_size,
                      IpcWait &wait);
