/*
 * Counts the open descriptors of the test, to check that a call leaks none.
 */
#pragma once

#include <fcntl.h>

inline int open_descriptors() {
    int count = 0;
    for (int fd = 0; fd < 256; ++fd) {
        count += fcntl(fd, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
}
