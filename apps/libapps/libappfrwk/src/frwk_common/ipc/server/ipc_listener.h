/*
 * The module's listening socket: its folder, its file, its backlog.
 */
#pragma once

/*
 * Creates the calling module's listening socket, replacing the file of an earlier run.
 * Returns the descriptor, owned by the caller, or -1 after logging the failure.
 */
int frwk_ipc_socket();
