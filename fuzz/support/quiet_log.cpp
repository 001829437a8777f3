/*
 * The system log of the fuzz targets: every line is put together, down to the debug level, so that the
 * sanitizers see what it reads, and none is written.
 */
#include "os_log.h"

/* In place of LogSocket::write. */
extern "C" void __wrap__ZN9LogSocket5writeEiRK7LogText(void *, int, const void *) {}

namespace {

const bool kLogsEverything = [] {
    g_syslog_level = OS_LOG_VERBOSE;
    return true;
}();

}  // namespace
