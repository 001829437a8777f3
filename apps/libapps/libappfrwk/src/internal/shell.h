/*
 * Shell actions on the device's fixed paths: nothing from outside the process becomes part of these commands.
 */
#pragma once

#include <unistd.h>

#include <cstdio>

#include "os_process.h"

/*
 * Runs a command on a path and syncs the file systems, so that its effect survives a power cut.
 * verb: such as "mkdir -p". path: one of the fixed paths.
 */
inline void shell_on_path(const char *verb, const char *path) {
    char command[128];
    (void)std::snprintf(command, sizeof(command), "%s %s", verb, path);
    os_system(command);
    ::sync();
}
