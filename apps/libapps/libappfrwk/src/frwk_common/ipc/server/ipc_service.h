/*
 * The message service of this module: its thread, the accept loop, and one exchange.
 */
#pragma once

/* Creates the listening socket and starts the service thread; asserts on failure. Call once, at start-up. */
void frwk_ipc_init();

/* Entry of the service thread; never returns. */
void *frwk_ipc_loop(void *unused);

/* Serves the request of a connection. fd: owned by the caller. */
void frwk_ipc_handle(int fd);
