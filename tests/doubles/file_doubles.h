/*
 * Doubles of the calls for files in folders that are held open, and of what is asked of files.
 */
#pragma once

#include <dirent.h>
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
extern Double<int(const char *, const char *)> link;
extern Double<int(int, const char *, int, const char *, int)> linkat;
extern Double<char *(const char *, char *)> realpath;

}  // namespace doubles::files
