/*
 * The message service of this module: its thread, the accept loop, and one exchange.
 */
#pragma once

/* Makes the listening socket and starts the service thread; failures are asserted. Once, at start-up. */
void frwk_ipc_init();

/* Entry of the service thread; never returns. */
void *frwk_ipc_loop(void *unused);

/* Serves the one request of a connection. fd: stays the caller's. */
void frwk_ipc_handle(int fd);
