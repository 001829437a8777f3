#include "security/folders/fixed_uptime.h"

#include <ctime>

#include "os_time.h"

namespace {

bool g_is_fixed = false;
timespec g_now = {};

}  // namespace

FixedUptime::FixedUptime() {
    (void)clock_gettime(CLOCK_MONOTONIC, &g_now);
    g_is_fixed = true;
}

FixedUptime::~FixedUptime() {
    g_is_fixed = false;
}

std::string FixedUptime::text() {
    return std::to_string(g_now.tv_sec) + "_" + std::to_string(g_now.tv_nsec);
}

/* In the place of the base library's, for the framework too. */
extern "C" void os_uptime(long *seconds, long *nanoseconds) {
    timespec now = g_now;
    if (!g_is_fixed) {
        (void)clock_gettime(CLOCK_MONOTONIC, &now);
    }
    *seconds = static_cast<long>(now.tv_sec);
    *nanoseconds = now.tv_nsec;
}
