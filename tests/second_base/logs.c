/*
 * The log: a line on standard error and a call of syslog(3). QUOR_DEBUG and QUOR_SYSLOG_LEVEL are the tests'
 * way to read a module's log.
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include "os_log.h"

int g_debug_log_enable = 0;
int g_syslog_level = OS_LOG_WARNING;

__attribute__((constructor)) static void read_environment(void) {
    const char *debug = getenv("QUOR_DEBUG");
    const char *level = getenv("QUOR_SYSLOG_LEVEL");
    if (debug != NULL && strcmp(debug, "1") == 0) {
        g_debug_log_enable = 1;
    }
    if (level != NULL) {
        g_syslog_level = atoi(level);
    }
}

/* The module table's numbers from 1 on; all others are a user's. */
static int facility_of(uint32_t number) {
    static const int facilities[] = {LOG_AUTH,   LOG_AUTHPRIV, LOG_CRON,   LOG_DAEMON, LOG_FTP,
                                     LOG_KERN,   LOG_LOCAL0,   LOG_LOCAL1, LOG_LOCAL2, LOG_LOCAL3,
                                     LOG_LOCAL4, LOG_LOCAL5,   LOG_LOCAL6, LOG_LOCAL7, LOG_LPR,
                                     LOG_MAIL,   LOG_NEWS,     LOG_SYSLOG, LOG_USER,   LOG_UUCP};
    const size_t count = sizeof(facilities) / sizeof(facilities[0]);
    return number >= 1 && number <= count ? facilities[number - 1] : LOG_USER;
}

void os_log_init(const char *name, uint32_t facility) {
    static char own_name[64];
    snprintf(own_name, sizeof(own_name), "%s", name);
    openlog(own_name, LOG_PID, facility_of(facility));
}

void os_debug_enable(void) {
    g_debug_log_enable = 1;
}

int32_t os_mask_check(int level) {
    (void)level;
    return 1;
}

void os_debug_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    fprintf(stderr, "<%d> %s:%d %s(): %s\n", level, file, line, function, text);
}

void os_trace_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    syslog(level > LOG_DEBUG ? LOG_DEBUG : level, "%s:%d %s(): %s", file, line, function, text);
}

void os_log_assert(const char *file, const char *function, int line, int condition, const char *text,
                   const char *message) {
    if (!condition) {
        os_debug_print(OS_LOG_WARNING, file, function, line, "ASSERT(%s) %s", text, message);
        os_trace_print(OS_LOG_WARNING, file, function, line, "ASSERT(%s) %s", text, message);
    }
}
