/*
 * The module's listening socket: its folder, its file, its backlog.
 */
#pragma once

/*
 * Makes the calling module's listening socket, replacing the file of an earlier run.
 * Returns the descriptor, which the caller owns, or -1 after a log line.
 */
int frwk_ipc_socket();
