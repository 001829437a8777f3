/*
 * Exact-length reads and writes on a connection, and opening one. Knows bytes and time limits, nothing of
 * messages. Any thread.
 */
#pragma once

#include <cstdint>

/*
 * Opens a connection to a module's socket. module: 1 to 52. timeout: seconds to wait while the receiver's
 * queue is full. Returns a blocking descriptor, which the caller closes, or -1.
 */
int frwk_ipc_connect(uint32_t module, uint32_t timeout);

/*
 * Reads exactly size bytes. timeout: seconds that each wait may take; 0 or less for no limit.
 * Returns size; fewer when the peer closed or the read failed; 0 after a time-out, whatever was read
 * before; negative when the wait failed.
 */
int32_t frwk_ipc_recv(int fd, void *buf, uint32_t size, int32_t timeout);

/* Writes exactly size bytes to a blocking descriptor. Returns size, or fewer when the peer is gone. */
int32_t frwk_ipc_send(int fd, const void *buf, uint32_t size);
