/*
 * Shell actions on paths.
 */
#pragma once

#include <unistd.h>

#include "internal/frwk_log.h"
#include "internal/shell_command.h"
#include "os_process.h"

/* Runs a fixed command and syncs the file systems. */
inline void shell_and_sync(const char *command) {
    os_system(command);
    ::sync();
}

/*
 * Runs a command on a path, such as "mkdir -p" on one of the device's folders.
 *
 * path: any; one that is too long for the command is reported.
 * Returns whether the command was run.
 */
inline bool run_on_path(const char *verb, const char *path) {
    ShellCommand<512> command;
    command.add("%s ", verb).add_word(path);
    if (!command.complete()) {
        FRWK_WARN("'%s' not run: the path is too long", verb);
        return false;
    }
    os_system(command.text());
    return true;
}

/* The same, and then syncs the file systems, so that its effect survives a power cut. */
inline void shell_on_path(const char *verb, const char *path) {
    if (run_on_path(verb, path)) {
        ::sync();
    }
}
