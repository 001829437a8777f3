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
 * The same for a connection that only frwk_ipc_tell writes to. The descriptor is as connecting left it: it
 * may be non-blocking or have a time limit for writes.
 */
int frwk_ipc_connect_to_tell(uint32_t module, uint32_t timeout);

/*
 * Reads exactly size bytes. timeout: seconds that each wait may take; 0 or less for no limit.
 * Returns size; fewer when the peer closed or the read failed; 0 after a time-out, whatever was read
 * before; negative when the wait failed.
 */
int32_t frwk_ipc_recv(int fd, void *buf, uint32_t size, int32_t timeout);

/*
 * The same for at least least bytes; what else has arrived is taken too, up to most bytes (least or more).
 * Returns the bytes read.
 */
int32_t frwk_ipc_recv_some(int fd, void *buf, uint32_t least, uint32_t most, int32_t timeout);

/* Writes exactly size bytes to a blocking descriptor. Returns size, or fewer when the peer is gone. */
int32_t frwk_ipc_send(int fd, const void *buf, uint32_t size);

/*
 * Writes a head and what follows it, both in one call as long as there is room, to any connection of this
 * module; it is made blocking where it has to wait.
 * rest, rest_size: 0 for nothing behind the head.
 * Returns the bytes written, those of the head included; fewer when the peer is gone.
 */
int32_t frwk_ipc_tell(int fd, const void *head, uint32_t head_size, const void *rest, uint32_t rest_size);
