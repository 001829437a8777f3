/*
 * Requests that are handled on a thread of their own while the service goes on.
 */
#pragma once

#include "formats/ipc_wire.h"
#include "frwk_common/ipc/transport/ipc_connection.h"

namespace ipc {

/* Handles the request of a connection, which has no body, and sends the answer. */
using Finish = void (*)(Connection &connection, const frwk_ipc_header &header);

/* Whether the request is to be handled apart. */
bool is_apart(const frwk_ipc_header &header);

/*
 * Finishes an exchange on a thread of its own, which takes the connection over. Returns false, and leaves the
 * connection, without a thread, without memory, or while as many as allowed are being finished; logs that.
 */
bool finish_apart(Connection &connection, const frwk_ipc_header &header, Finish finish);

/* Waits until no exchange is being finished apart. */
void wait_for_apart();

}  // namespace ipc
