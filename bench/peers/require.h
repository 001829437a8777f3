/*
 * What the benchmark's programs do when something fails: a figure of a broken run is worth nothing.
 */
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

/* Prints what failed, with errno, and ends the process. */
[[noreturn]] inline void give_up(const std::string &what) {
    (void)std::fprintf(stderr, "bench: %s: %s\n", what.c_str(), std::strerror(errno));
    std::_Exit(1);
}

/* Gives up unless a condition holds. */
inline void require(bool holds, const char *what) {
    if (!holds) {
        give_up(what);
    }
}
