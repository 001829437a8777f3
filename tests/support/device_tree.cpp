// device-tree [--] COMMAND [ARG...]
//
// Runs a command in a private copy of the device's file tree: the fixed paths that modules use (/m_data,
// /m_webui, /tmp/m_tmp, /etc/quor_*, /usr/bin/apps_init) are fresh and writable there, and nothing of the
// host is touched. For tests and the demo; not a sandbox, since all other files are the host's own.
//
// QUOR_EMULATOR in the environment names a program that runs what is built for 32-bit ARM (qemu-arm); it is
// then used for every such program in the tree.
//
// The status is the command's, or 128 and the number of the signal that ended it; 126 or 127 when it can't
// be run. Where the tree can't be made, as where namespaces are not allowed, and for a wrong usage, it is 2.

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "device_tree_mounts.h"
#include "device_tree_process.h"

namespace {

std::string working_folder() {
    char path[PATH_MAX];
    return getcwd(path, sizeof(path)) != nullptr ? path : "/";
}

// The same path as before, where the tree has it.
void enter_folder(const std::string &path) {
    if (chdir(path.c_str()) != 0 && chdir("/") != 0) {
        device_tree::refuse("enter", "/");
    }
}

// The command among the arguments; null without one.
char **find_command(char **argv) {
    char **first = argv + 1;
    if (*first != nullptr && strcmp(*first, "--") == 0) {
        return first[1] != nullptr ? first + 1 : nullptr;
    }
    return *first != nullptr && **first != '-' ? first : nullptr;
}

}  // namespace

int main(int argc, char **argv) {
    char **command = argc > 1 ? find_command(argv) : nullptr;
    if (command == nullptr) {
        (void)fprintf(stderr, "usage: device-tree [--] COMMAND [ARG...]\n");
        return 2;
    }

    const std::string folder = working_folder();
    device_tree::enter_private_root();
    enter_folder(folder);
    return device_tree::run_command(command);
}
