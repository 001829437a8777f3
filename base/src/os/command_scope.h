/*
 * The mark that a thread's commands carry between os_command_scope_open and os_command_scope_close.
 *
 * It is a variable of their environment, which a process hands on to whatever it starts. A daemon changes its
 * process group, session, parent and open files on the way, but has no reason to clear its environment.
 */
#pragma once

#include <memory>

struct FreeEnvironment {
    void operator()(char **entries) const;
};

/*
 * The environment of a command: the process's own, and the thread's mark if it has one.
 *
 * Returns nothing, with errno set, when there is no memory. The entries are borrowed.
 */
std::unique_ptr<char *, FreeEnvironment> command_environment();
