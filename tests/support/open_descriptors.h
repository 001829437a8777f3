/*
 * Counts the open descriptors of the test, to check that a call leaks none.
 */
#pragma once

#include <dirent.h>

#include <cstddef>

/* The one used for counting is included. */
inline size_t open_descriptors() {
    size_t count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (folder != nullptr && readdir(folder) != nullptr) {
        ++count;
    }
    if (folder != nullptr) {
        (void)closedir(folder);
    }
    return count;
}
