/*
 * Doubles of the system library's functions. Link doubles_libc.
 *
 * Variadic functions have fixed arguments: open a mode (0 if none was passed), fcntl one
 * argument as a pointer (only meaningful if the command has one).
 * The doubles of open, fcntl and fopen also replace their variants with 64-bit offsets.
 */
#pragma once

#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/socket.h>
#include <sys/sysinfo.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <time.h>

#include "doubles/double.h"

namespace doubles::libc {

extern Double<int(int, int, int)> socket;
extern Double<int(int, int, int, int *)> socketpair;
extern Double<int(int, const sockaddr *, socklen_t)> bind;
extern Double<int(int, int)> listen;
extern Double<int(int, sockaddr *, socklen_t *, int)> accept4;
extern Double<int(int, const sockaddr *, socklen_t)> connect;
extern Double<int(int, int, int, const void *, socklen_t)> setsockopt;
extern Double<int(int, int, int, void *, socklen_t *)> getsockopt;
extern Double<int(pollfd *, nfds_t, int)> poll;
extern Double<ssize_t(int, void *, size_t, int)> recv;
extern Double<ssize_t(int, const void *, size_t, int)> send;
extern Double<ssize_t(int, const msghdr *, int)> sendmsg;
extern Double<int()> sched_yield;

extern Double<int(const char *, int, mode_t)> open;
extern Double<int(int, int, void *)> fcntl;
extern Double<ssize_t(int, void *, size_t)> read;
extern Double<ssize_t(int, const void *, size_t)> write;
extern Double<ssize_t(int, const void *, size_t, off_t)> pwrite;
extern Double<ssize_t(int, const iovec *, int)> writev;
extern Double<int(int)> close;
extern Double<int(int)> fsync;
extern Double<int(int, off_t)> ftruncate;
extern Double<int(int, mode_t)> fchmod;
extern Double<int(const char *, const char *)> rename;
extern Double<int(const char *)> unlink;
extern Double<int(const char *, mode_t)> mkdir;
extern Double<void()> sync;

extern Double<FILE *(const char *, const char *)> fopen;
extern Double<size_t(void *, size_t, size_t, FILE *)> fread;
extern Double<size_t(const void *, size_t, size_t, FILE *)> fwrite;
extern Double<int(FILE *)> fflush;
extern Double<int(FILE *)> fclose;
extern Double<FILE *(int, const char *)> fdopen;
extern Double<int(const char *)> system;
extern Double<pid_t()> fork;
extern Double<int(int *, int)> pipe2;
extern Double<int(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                  char *const *, char *const *)>
    posix_spawn;
extern Double<pid_t(pid_t, int *, int)> waitpid;
extern Double<int(pid_t, int)> kill;

extern Double<void *(size_t)> malloc;
extern Double<void *(size_t, size_t)> calloc;

extern Double<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)> pthread_create;
extern Double<int(pthread_attr_t *)> pthread_attr_init;
extern Double<int(pthread_mutex_t *, const pthread_mutexattr_t *)> pthread_mutex_init;
extern Double<int(sem_t *, int, unsigned)> sem_init;
extern Double<int(sem_t *)> sem_wait;

extern Double<int(clockid_t, timespec *)> clock_gettime;
extern Double<int(clockid_t, int, const timespec *, timespec *)> clock_nanosleep;
extern Double<int(const timespec *, timespec *)> nanosleep;

extern Double<void(const char *, int, int)> openlog;

extern Double<int(struct ::sysinfo *)> sysinfo;

}  // namespace doubles::libc
