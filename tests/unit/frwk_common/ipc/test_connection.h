/*
 * The library's end of a connected pair, as the connection that the code under test works on.
 */
#pragma once

#include "frwk_common/ipc/server/ipc_service.h"
#include "frwk_common/ipc/transport/ipc_connection.h"
#include "unit/frwk_common/ipc/test_peer.h"

/* The pair gives its end up. */
inline ipc::Connection connection_of(SocketPair &pair,
                                     ipc::Connection::Mode mode = ipc::Connection::Mode::kBlocking) {
    const int flags = mode == ipc::Connection::Mode::kBlocking ? 0 : O_NONBLOCK;
    (void)fcntl(pair.subject(), F_SETFL, flags);
    return ipc::Connection(UniqueFd(pair.take_subject()), mode);
}

/* Serves the one request of a pair, whose end is closed then, as the service does. */
inline void serve_request(SocketPair &pair) {
    ipc::Connection connection = connection_of(pair);
    ipc::serve(connection);
}
