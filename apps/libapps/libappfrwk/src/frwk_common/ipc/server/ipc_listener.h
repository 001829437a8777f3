/*
 * The module's listening socket: its folder, its file, its backlog.
 */
#pragma once

#include "support/unique_fd.h"

namespace ipc {

/*
 * Creates the calling module's listening socket, replacing the file of an earlier run.
 * Returns nothing owned, after logging the failure.
 */
UniqueFd make_listener();

}  // namespace ipc
