/*
 * Helpers for writing files durably. They return errno values and log nothing. Any thread.
 */
#pragma once

#include <string>

#include "support/unique_fd.h"

/*
 * Opens a regular file.
 * flags: those of open(2) except O_CLOEXEC, which is always set. fd: receives the descriptor; unchanged on
 * failure.
 * Returns 0 or an errno value; EISDIR or EINVAL if it is not a regular file. Does not block on a pipe.
 */
int open_file(const std::string &path, int flags, UniqueFd &fd);

/* Creates the missing folders above a file. Returns 0 or an errno value. */
int make_folder_of(const std::string &path);

/* Syncs the folder of a file, so that the names in it survive a power cut. Returns 0 or an errno value. */
int sync_folder_of(const std::string &path);

/* The same for the folders above that folder, which contain its name and theirs. */
int sync_folders_above(const std::string &path);
