/*
 * Opens the journal so that only the service can have written it: on tmpfs, another user may have created a
 * file with its name first. The functions return errno values; renamed files are logged. Any thread.
 */
#pragma once

#include <string>

#include "file_steps.h"

/*
 * Creates the folder of a file if it is missing, and removes the write permission of everybody except its
 * owner. Renames a folder or link that another user put in its place. Returns 0 or an errno
 * value; EPERM for a folder of another user.
 */
int make_journal_folder(const std::string &path);

/*
 * Opens a regular file as open_file does, with O_NOFOLLOW, and removes the permissions of everybody except
 * its owner. Renames a file that another user put in its place, or in that of its temporary file. Returns 0
 * or an errno value; EPERM for a file of another user.
 */
int open_journal_file(const std::string &path, int flags, UniqueFd &fd);
