/*
 * The steps that writing a file so that it can't be lost is made of. They report with errno values and
 * log nothing. Any thread.
 */
#pragma once

#include <string>

#include "support/unique_fd.h"

/*
 * Opens a regular file.
 * flags: those of open(2) beside O_CLOEXEC. fd: receives the descriptor; unchanged on failure.
 * Returns 0 or an errno value; anything but a file is EISDIR or EINVAL, and is not waited for.
 */
int open_file(const std::string &path, int flags, UniqueFd &fd);

/* Makes the folder of a file, and those above it, where they are missing. Returns 0 or an errno value. */
int make_folder_of(const std::string &path);

/* Makes the names in the folder of a file survive a power cut. Returns 0 or an errno value. */
int sync_folder_of(const std::string &path);

/* The same for the name of that folder, and for those above it. */
int sync_folders_above(const std::string &path);
