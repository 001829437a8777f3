/*
 * Doubles that only files with a temporary twin and the cipher need, and of the wiping of memory.
 */
#pragma once

#include <dirent.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "doubles/double.h"

namespace doubles::files {

extern Double<int(int, const char *, int, mode_t)> openat; /* with a mode of 0 where none was passed */
extern Double<DIR *(int)> fdopendir;
extern Double<int(int, const char *, int, const char *)> renameat;
extern Double<int(int, const char *, int)> unlinkat;
extern Double<int(int, int)> flock;
extern Double<int(int, struct stat *)> fstat;
extern Double<int(int, uid_t, gid_t)> fchown;
extern Double<int(int, const char *, int, const char *, int)> linkat;
extern Double<char *(const char *, char *)> realpath;
extern Double<ssize_t(void *, size_t, unsigned)> getrandom;
extern Double<void(void *, size_t)> sodium_memzero;

}  // namespace doubles::files
