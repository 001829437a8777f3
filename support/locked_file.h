/*
 * Files that their creator keeps locked while it lives, so that the next creator can tell a file in use from
 * the leftover of a killed process. Any number of threads and processes.
 */
#pragma once

#include <cstddef>

#include "support/unique_fd.h"

/* Called with the name of each leftover that was removed. */
using LeftoverRemoved = void (*)(const char *name);

/*
 * Removes the leftovers of a kind, and creates the empty file KIND.unfinished.XXXXXX with the mode 0600,
 * whatever the umask.
 *
 * name, size: receives the file's name; "" on failure. Returns the descriptor, or nothing owned with errno
 * set.
 */
UniqueFd make_locked_file(int folder, const char *kind, char *name, size_t size, LeftoverRemoved removed);
