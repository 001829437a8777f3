/*
 * Error handling of the benchmark's programs: a failure ends the process, since the figures of a failed run
 * are useless.
 */
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

/* Prints the failed operation and errno, and ends the process. */
[[noreturn]] inline void give_up(const std::string &what) {
    (void)std::fprintf(stderr, "bench: %s: %s\n", what.c_str(), std::strerror(errno));
    std::_Exit(1);
}

/* Calls give_up unless a condition holds. */
inline void require(bool holds, const char *what) {
    if (!holds) {
        give_up(what);
    }
}
