// The command that runs in the private tree, and the processes that it leaves running.
#ifndef QUOR_DEVICE_TREE_PROCESS_H
#define QUOR_DEVICE_TREE_PROCESS_H

namespace device_tree {

class TreeLog;

// Runs a command and waits for it, then kills every process that it left running. SIGTERM, SIGINT, SIGHUP and
// SIGQUIT are passed on to it.
//
// command: its arguments, the program first, ended by null; looked up in PATH.
// log: takes what the tree's programs log while the command runs; null for none.
// Returns its exit status; 128 and the signal's number when a signal ended it; 127 when there is no such
// program and 126 when it can't be run.
int run_command(char **command, TreeLog *log);

}  // namespace device_tree

#endif
