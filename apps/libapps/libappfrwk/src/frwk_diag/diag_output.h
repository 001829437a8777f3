/*
 * The file that a diagnostic's tool prints to. It is made before the tool runs, since the shell would follow
 * a link of its name, and write to whatever another user put there; and it is the one that is read, whatever
 * has its name then.
 */
#pragma once

#include "support/unique_fd.h"

/* Makes the file. Returns nothing owned, with errno set, when that fails. */
UniqueFd make_diag_output(const char *path);

/*
 * Where the base library stopped an output at OS_COMMAND_FILE_MAX, adds a last line that says so. Failures
 * are logged; the output then stays as it is.
 *
 * output: what make_diag_output gave.
 */
void mark_stopped_output(int output);

/*
 * The file for reading, after the tool has run.
 *
 * output: what make_diag_output gave. path: where it was made.
 * Returns nothing owned, with errno set, when it was not made, when it is gone, and when no shell has opened
 * it: then it is removed.
 */
UniqueFile open_diag_output(UniqueFd output, const char *path);
