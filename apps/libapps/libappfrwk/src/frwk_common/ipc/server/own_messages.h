/*
 * The threads that handle asynchronous messages of the module to itself.
 */
#pragma once

/*
 * Counts one more, before it is started; says so in the log when they are remarkably many. Returns false, and
 * counts nothing, when there may be no more.
 */
bool own_message_begins();

/* One of them is over, or could not be started. */
void own_message_ends();
