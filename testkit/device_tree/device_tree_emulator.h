// Programs of another processor in the private tree.
#ifndef QUOR_DEVICE_TREE_EMULATOR_H
#define QUOR_DEVICE_TREE_EMULATOR_H

#include <string>

namespace device_tree {

// Runs 32-bit ARM programs with this emulator from now on, in the calling process's user namespace, which
// must be its own. emulator: absolute path of the host. Refuses on any failure.
void register_emulator(const std::string &emulator);

}  // namespace device_tree

#endif
