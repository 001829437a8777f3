// The private root folder that a command runs in: the host's files, with the device's own folders laid over.
#ifndef QUOR_DEVICE_TREE_MOUNTS_H
#define QUOR_DEVICE_TREE_MOUNTS_H

namespace device_tree {

// Prints one line, "device-tree: WHAT DETAIL: CAUSE" with the cause from errno, and ends with status 2. The
// detail may come from outside: what would control a terminal is escaped.
[[noreturn]] void refuse(const char *what, const char *detail);

// Moves the calling process, which must have one thread, into a mount namespace of its own and makes the
// private root folder its root. Changes nothing that another process can see. Refuses on any failure.
void enter_private_root();

}  // namespace device_tree

#endif
