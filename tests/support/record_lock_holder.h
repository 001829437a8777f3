/*
 * Record locks as another process than their holder sees them.
 */
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <string>

/* The process that holds a write lock on the whole file; 0 for none, and for the asking process itself. */
inline pid_t record_lock_holder(const char *path) {
    const int fd = open(path, O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const int result = fcntl(fd, F_GETLK, &lock);
    (void)close(fd);
    const bool whole = lock.l_type == F_WRLCK && lock.l_start == 0 && lock.l_len == 0;
    return result == 0 && whole ? lock.l_pid : 0;
}

/* Takes a read lock on the whole file until the process ends. Returns whether that succeeded. */
inline bool hold_read_lock(const char *path) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(fd, F_SETLK, &lock) == 0;
}

/* Takes a module's instance lock until the process ends. Returns whether that succeeded. */
inline bool hold_instance_lock(const std::string &module) {
    (void)mkdir("/tmp/m_tmp", 0755);
    (void)mkdir("/tmp/m_tmp/lock", 0755);
    const int fd = open(("/tmp/m_tmp/lock/" + module).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(fd, F_SETLK, &lock) == 0;
}
