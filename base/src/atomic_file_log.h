/*
 * Log lines about files that replace others atomically. Any thread.
 */
#pragma once

#include "support/atomic_file.h"

/* Logs that the leftover of a killed process was removed. */
void log_removed_leftover(const char *name);

/* Warns that the folder of a file can't be synced. path: the file; errno: the cause. */
void log_unsynced_folder(const char *path);

/* Whether a file got its target's name. path: the target; warns if the folder could not be synced. */
bool is_in_place(AtomicFile::Placed placed, const char *path);
