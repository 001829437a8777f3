/*
 * The threads that handle asynchronous messages of the module to itself.
 */
#pragma once

/* Counts one more, before it is started; says so in the log when they are remarkably many. */
void own_message_begins();

/* One of them is over, or could not be started. */
void own_message_ends();
