/*
 * The file for a tool's output. It is created before the tool runs, since the shell would follow a link with
 * its name, or write to another user's file. This file is read, even if another one has its name afterwards.
 */
#pragma once

#include "support/unique_fd.h"

/* Creates the file. Owns nothing, with errno set, on failure. */
UniqueFd make_diag_output(const char *path);

/*
 * If the base library stopped an output at OS_COMMAND_FILE_MAX, adds a last line about that. Logs failures;
 * the output is then unchanged.
 *
 * output: from make_diag_output.
 */
void mark_stopped_output(int output);

/*
 * Opens the file for reading, after the tool has run.
 *
 * output: from make_diag_output. path: the file's path.
 * Owns nothing, with errno set, if the file was not created or does not exist any more, or if no shell has
 * opened it; it is then removed.
 */
UniqueFile open_diag_output(UniqueFd output, const char *path);
