/*
 * Doubles of the C library's functions: those of support/libc_calls.def. Link doubles_libc.
 *
 * Variadic functions have fixed arguments: open a mode (0 if none was passed), fcntl one
 * argument as a pointer (only meaningful if the command has one).
 * The doubles of open, fcntl and fopen also replace their variants with 64-bit offsets.
 */
#pragma once

#include <dirent.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <time.h>

#include "doubles/double.h"

namespace doubles::libc {

#define QUOR_FIXED_CALL(result, name, symbol, parameters, arguments) extern Double<result parameters> name;
#include "support/libc_calls.def"

extern Double<int(const char *path, int flags, mode_t mode)> open;
extern Double<int(int folder, const char *path, int flags, mode_t mode)> openat;
extern Double<int(int fd, int command, void *argument)> fcntl;

}  // namespace doubles::libc
