/*
 * The threads that handle asynchronous messages of the module to itself.
 */
#pragma once

namespace ipc {

/*
 * Counts a thread before it is started; logs when there are unusually many. Returns false, without counting
 * it, if the limit is reached.
 */
bool own_message_begins();

/* Uncounts a thread that has ended, or could not be started. */
void own_message_ends();

}  // namespace ipc
