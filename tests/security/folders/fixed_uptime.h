/*
 * A fixed uptime, so that the names of files that contain the uptime are known in advance.
 */
#pragma once

#include <string>

/* Until the end of the scope, the library sees the uptime of its beginning. */
class FixedUptime {
  public:
    FixedUptime();
    ~FixedUptime();
    FixedUptime(const FixedUptime &) = delete;
    FixedUptime &operator=(const FixedUptime &) = delete;

    /* "SECONDS_NANOSECONDS", as in the names of files. */
    static std::string text();
};
