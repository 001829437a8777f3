/*
 * The system log of the fuzz targets: every line, down to the debug level, is formatted, so that the
 * sanitizers check its arguments, but none is written.
 */
#include "os_log.h"

/* Replaces LogSocket::write. */
extern "C" void __wrap__ZN9LogSocket5writeEiRK7LogText(void *, int, const void *) {}

namespace {

const bool kLogsEverything = [] {
    g_syslog_level = OS_LOG_VERBOSE;
    return true;
}();

}  // namespace
