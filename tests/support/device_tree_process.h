// The command that runs in the private tree, and the processes that it leaves running.
#ifndef QUOR_DEVICE_TREE_PROCESS_H
#define QUOR_DEVICE_TREE_PROCESS_H

namespace device_tree {

// Runs a command and waits for it, then kills every process that it left running. SIGTERM and SIGINT are
// passed on to it.
//
// command: its arguments, the program first, ended by null; looked up in PATH.
// Returns its exit status; 128 and the signal's number when a signal ended it; 127 when there is no such
// program and 126 when it can't be run.
int run_command(char **command);

}  // namespace device_tree

#endif
