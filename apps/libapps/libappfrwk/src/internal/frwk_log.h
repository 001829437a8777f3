/*
 * The framework's log macros: short names for the base library's macros.
 *
 * Log from named functions, never from a lambda: the function's name is part of the line.
 */
#pragma once

#include "os_log.h"

#define FRWK_WARN(...) OS_LOG(OS_LOG_WARNING, __VA_ARGS__)
#define FRWK_WARN_AS(function, ...) OS_LOG_AS(function, OS_LOG_WARNING, __VA_ARGS__)
#define FRWK_NOTICE(...) OS_LOG(OS_LOG_NOTICE, __VA_ARGS__)
#define FRWK_NOTICE_AS(function, ...) OS_LOG_AS(function, OS_LOG_NOTICE, __VA_ARGS__)
#define FRWK_DEBUG(...) OS_LOG(OS_LOG_DEBUG, __VA_ARGS__)
#define FRWK_DEBUG_AS(function, ...) OS_LOG_AS(function, OS_LOG_DEBUG, __VA_ARGS__)
#define FRWK_VERBOSE(...) OS_LOG(OS_LOG_VERBOSE, __VA_ARGS__)
#define FRWK_WARN_ERRNO(text) OS_LOG_ERRNO(text)
#define FRWK_WARN_ERRNO_AS(function, text) OS_LOG_ERRNO_AS(function, text)

/*
 * Asserts a condition with the base library. If it is false, a device's own library may end the process, so
 * use this only for conditions that start-up and the service thread require.
 */
#define FRWK_ASSERT(condition, text, message) OS_LOG_ASSERT(condition, text, message)

/* Logs a failed check with the text of an assertion. The caller made a mistake; the process continues. */
#define FRWK_WARN_FAILED(text, message) FRWK_WARN("ASSERT(%s) %s", (text), (message))
#define FRWK_WARN_FAILED_AS(function, text, message) \
    FRWK_WARN_AS(function, "ASSERT(%s) %s", (text), (message))
