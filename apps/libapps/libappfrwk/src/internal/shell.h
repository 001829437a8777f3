/*
 * Shell actions on paths.
 */
#pragma once

#include <unistd.h>

#include "internal/frwk_log.h"
#include "internal/shell_command.h"
#include "os_process.h"

/*
 * Runs a command, which must be safe. Logs a command that could not be run; the caller checks the exit
 * status.
 *
 * Returns the result of system(3).
 */
inline int32_t run_shell(const char *command) {
    const int32_t status = os_system(command);
    if (status == -1) {
        FRWK_WARN(__func__, "'%s' failed, status=%d", command, status);
    }
    return status;
}

/* Runs a fixed command and syncs the file systems. */
inline void shell_and_sync(const char *command) {
    (void)run_shell(command);
    ::sync();
}

/*
 * Runs a command on a path, such as "mkdir -p" on one of the device's folders.
 *
 * path: any; a path that is too long for the command is logged.
 * Returns whether the command was run.
 */
inline bool run_on_path(const char *verb, const char *path) {
    ShellCommand<512> command;
    command.add("%s ", verb).add_word(path);
    if (!command.complete()) {
        FRWK_WARN(__func__, "'%s' not run: the path is too long", verb);
        return false;
    }
    (void)run_shell(command.text());
    return true;
}

/* The same, and then syncs the file systems, so that its effect survives a power cut. */
inline void shell_on_path(const char *verb, const char *path) {
    if (run_on_path(verb, path)) {
        ::sync();
    }
}
