/*
 * The mark of a thread's commands between os_command_scope_open and os_command_scope_close.
 *
 * The mark is an environment variable, since child processes inherit it. A process that becomes a daemon
 * changes its process group, session, parent and open files, but has no reason to clear its environment.
 */
#pragma once

/* Whether the calling thread has a scope open. */
bool in_command_scope();

/*
 * Returns the mark for a command that the calling thread is about to start, as an entry of the environment;
 * null outside a scope. The entry belongs to the scope. The first call in a scope starts the guard.
 */
char *command_mark();
