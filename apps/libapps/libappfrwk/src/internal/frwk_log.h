/*
 * The framework's log macros: short names for the base library's macros.
 *
 * Every macro takes first the function that its line names, a LogName: __func__, which a lambda doesn't have,
 * or one of log_name.h where the interface fixes another.
 */
#pragma once

#include "internal/log_name.h"
#include "os_log.h"

/* The format is a literal, so that a line without a name does not compile. */
#define FRWK_LOG(name, level, ...) OS_LOG_AS(LogName(name).function(), level, "" __VA_ARGS__)

#define FRWK_WARN(name, ...) FRWK_LOG(name, OS_LOG_WARNING, __VA_ARGS__)
#define FRWK_NOTICE(name, ...) FRWK_LOG(name, OS_LOG_NOTICE, __VA_ARGS__)
#define FRWK_DEBUG(name, ...) FRWK_LOG(name, OS_LOG_DEBUG, __VA_ARGS__)
#define FRWK_VERBOSE(name, ...) FRWK_LOG(name, OS_LOG_VERBOSE, __VA_ARGS__)

/* Logs on the debug channel only, whatever the system log takes. */
#define FRWK_DEBUG_QUIET(name, ...)                                                                        \
    do {                                                                                                   \
        if (OS_LOG_TO_DEBUG(OS_LOG_DEBUG)) {                                                               \
            const int frwk_log_errno = errno;                                                              \
            os_debug_print(OS_LOG_DEBUG, OS_LOG_FILE, LogName(name).function(), __LINE__, "" __VA_ARGS__); \
            errno = frwk_log_errno;                                                                        \
        }                                                                                                  \
    } while (0)

/* Logs, as a warning, a failure that left its cause in errno. */
#define FRWK_WARN_ERRNO(name, text) OS_LOG_ERRNO_AS(LogName(name).function(), text)

/*
 * Asserts a condition with the base library. If it is false, a device's own library may end the process, so
 * use this only for conditions that start-up and the service thread require.
 */
#define FRWK_ASSERT(name, condition, text, message) \
    os_log_assert(OS_LOG_FILE, LogName(name).function(), __LINE__, (condition) ? 1 : 0, (text), (message))

/* Logs a failed check with the text of an assertion. The caller made a mistake; the process continues. */
#define FRWK_WARN_FAILED(name, text, message) FRWK_WARN(name, "ASSERT(%s) %s", (text), (message))
