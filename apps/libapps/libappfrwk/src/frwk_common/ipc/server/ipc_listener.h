/*
 * The module's listening socket: its folder, its file, its backlog.
 */
#pragma once

namespace ipc {

/*
 * Creates the calling module's listening socket, replacing the file of an earlier run. g_s_ipcs_fd has it
 * from its first moment, so that no forked child keeps it; -1 after a failure, which is logged.
 */
void make_listener();

}  // namespace ipc
