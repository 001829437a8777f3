/*
 * In front of the functions that are carried out or fail, and do nothing in between.
 */
#include <dirent.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "faults/in_front.h"

#define QUOR_CALL(result, name, symbol, failure, parameters, arguments, ...) \
    QUOR_PASS(result, symbol, failure, parameters, arguments)
#include "support/libc_calls.def"
