/*
 * The system log of the fuzz targets: every line is put together, down to the debug level, so that the
 * sanitizers see what it reads, and none is written.
 */
#include <cstdarg>

#include "os_log.h"

extern "C" void __wrap_syslog(int, const char *, ...) {}

namespace {

const bool kLogsEverything = [] {
    g_syslog_level = OS_LOG_VERBOSE;
    return true;
}();

}  // namespace
