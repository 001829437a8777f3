/*
 * The journal as a file that nobody but the service may have written: it lies on tmpfs, where another user
 * may have been first. These report with errno values; what is set aside is logged. Any thread.
 */
#pragma once

#include <string>

#include "file_steps.h"

/*
 * Makes the folder of a file where it is missing, and takes the right to write to it from everybody but its
 * owner. A folder, or a link, that another user put in its place is set aside first. Returns 0 or an errno
 * value; EPERM for a folder of another user.
 */
int make_journal_folder(const std::string &path);

/*
 * Opens a regular file as open_file does, with O_NOFOLLOW, and keeps it from everybody but its owner. What
 * another user put in its place, or in that of its successor, is set aside first. Returns 0 or an errno
 * value; EPERM for a file of another user.
 */
int open_journal_file(const std::string &path, int flags, UniqueFd &fd);
