/*
 * Detects leaks of a call: blocks of memory, descriptors and files.
 */
#pragma once

#include <set>
#include <string>

#include "os_mem.h"

namespace faults {

struct Holdings {
    long blocks;        /* of the C library */
    uint32_t tracked;   /* of the base library's allocator */
    size_t descriptors; /* open ones */
};

/* The present counts. Allocates no memory. */
Holdings holdings();

/* Waits briefly for other threads to release theirs. Returns "" or a description of the leaks. */
std::string grown_since(const Holdings &before);

/* The paths of all files in the device's own folders. */
std::set<std::string> device_files();

}  // namespace faults
