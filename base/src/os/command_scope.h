/*
 * The mark that a thread's commands carry between os_command_scope_open and os_command_scope_close.
 *
 * It is a variable of their environment, which a process hands on to whatever it starts. A daemon changes its
 * process group, session, parent and open files on the way, but has no reason to clear its environment.
 */
#pragma once

/* Whether the calling thread has a scope open. */
bool in_command_scope();

/*
 * The mark for a command that the calling thread is about to start, as an entry of its environment; null
 * outside of a scope. It stays the scope's, which is guarded from its first command on.
 */
char *command_mark();
