/*
 * The framework's way of logging: short names for the base library's two-channel macros.
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
 * Hands a condition that has to hold to the base library. When it doesn't, a device's own library may do
 * anything, up to ending the process: only for what start-up and a service thread can't do without.
 */
#define FRWK_ASSERT(condition, text, message) OS_LOG_ASSERT(condition, text, message)

/* Logs a check that failed in an assertion's words. The caller has made a mistake, and the process goes on.
 */
#define FRWK_WARN_FAILED(text, message) FRWK_WARN("ASSERT(%s) %s", (text), (message))
#define FRWK_WARN_FAILED_AS(function, text, message) \
    FRWK_WARN_AS(function, "ASSERT(%s) %s", (text), (message))
