/*
 * The message service of this module: its thread, the accept loop, and one exchange.
 */
#pragma once

#include "frwk_common/ipc/transport/ipc_connection.h"

namespace ipc {

/* Creates the listening socket and starts the service thread; asserts on failure. Call once, at start-up. */
void start_service();

/* Entry of the service thread; never returns. */
void *run_service(void *unused);

/* Serves the request of a connection, or has another thread do so, which then owns the connection. */
void serve(Connection &connection);

}  // namespace ipc
