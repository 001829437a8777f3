/*
 * An uptime that stands still: the names of files that are made from it are then known before they are there.
 */
#pragma once

#include <string>

/* The library is told the uptime of the scope's beginning until its end. */
class FixedUptime {
  public:
    FixedUptime();
    ~FixedUptime();
    FixedUptime(const FixedUptime &) = delete;
    FixedUptime &operator=(const FixedUptime &) = delete;

    /* "SECONDS_NANOSECONDS", as in the names of files. */
    static std::string text();
};
