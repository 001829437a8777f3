/*
 * Requests that are handled on a thread of their own while the service goes on.
 */
#pragma once

#include <atomic>
#include <cstdint>

#include "formats/ipc_wire.h"
#include "frwk_common/ipc/transport/ipc_connection.h"

namespace ipc {

/* Handles the request of a connection, which has no body, and sends the answer. */
using Finish = void (*)(Connection &connection, const frwk_ipc_header &header);

/* The messages that are handled apart. 0 is a free place; after it there are only free ones. */
extern std::atomic<int32_t> g_apart_messages[8];

/* Whether the request is to be handled apart, in a module that has such messages. */
bool is_registered_apart(const frwk_ipc_header &header);

/* Whether the request is to be handled apart. */
inline bool is_apart(const frwk_ipc_header &header) {
    return g_apart_messages[0].load(std::memory_order_relaxed) != 0 && is_registered_apart(header);
}

/*
 * Finishes an exchange on a thread of its own, which takes the connection over. Returns false, and leaves the
 * connection, without a thread, without memory, or while as many as allowed are being finished; logs that.
 */
bool finish_apart(Connection &connection, const frwk_ipc_header &header, Finish finish);

/* Waits until no exchange is being finished apart. */
void wait_for_apart();

}  // namespace ipc
