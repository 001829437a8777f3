/*
 * The two log channels: the debug channel on standard error, and the system log.
 *
 * Modules write with the OS_LOG macros, which add file, function and line, keep errno, and evaluate and
 * format their arguments only if a channel accepts the message (OS_LOG once for each such channel).
 * One message is one line: a line end at its end is dropped, any other control character is escaped
 * ("\n", "\r", "\x1b"), and a line that is too long is truncated with "...".
 *
 * At most ten identical lines are written within a second, even if up to eight different lines alternate.
 * Further ones are only counted, and the count is written as "last message repeated 10 times", or as "message
 * repeated 10 times: " and the line's beginning if another line was written in between. A count is written
 * when it reaches 10, 100, 1000 and so on, before the next line, at the first repeat after a minute without
 * the line, and at exit.
 *
 * The lines reach the system log in the format of syslog(3), but over a socket of this library, so that a
 * stopped daemon doesn't block a module. A line waits for the daemon for 100 ms at most, and the lines after
 * one that waited in vain don't wait until the daemon accepts a line again. While the daemon is slow, the
 * lines of a process together wait for one second at most, and for a tenth of the time after that. Lines that
 * the daemon doesn't accept are lost; their number is logged before the next line that it accepts, or at
 * exit.
 *
 * Every function and macro may be used from any thread. In a forked child all may be used except os_log_init,
 * even if other threads of the parent were writing a line. A fork waits until no other thread is writing a
 * line.
 */
#ifndef QUOR_OS_LOG_H
#define QUOR_OS_LOG_H

#include <errno.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Message levels: those of syslog(3) and a lower one. */
enum {
    OS_LOG_WARNING = 4,
    OS_LOG_NOTICE = 5,
    OS_LOG_INFO = 6,
    OS_LOG_DEBUG = 7,
    OS_LOG_VERBOSE = 8 /* logged at the system log's debug level */
};

/* 1 while the debug channel is on. Set by os_debug_enable or QUOR_DEBUG=1; it stays on. */
extern int g_debug_log_enable;

/* The system log receives messages of this level and below; 4 unless QUOR_SYSLOG_LEVEL is set. */
extern int g_syslog_level;

/*
 * Sets the process name for both channels and for syslog(3), and reads QUOR_DEBUG and QUOR_SYSLOG_LEVEL
 * again, which are also read when the library is loaded. May be called again at any time. A variable that is
 * not set, or has another value than "1" (QUOR_DEBUG) or a digit from 0 to 8 (QUOR_SYSLOG_LEVEL), is ignored.
 *
 * name: copied, at most 63 characters; null means "unknown".
 * facility: 1 AUTH, 2 AUTHPRIV, 3 CRON, 4 DAEMON, 5 FTP, 6 KERN, 7 to 14 LOCAL0 to LOCAL7, 15 LPR,
 *           16 MAIL, 17 NEWS, 18 SYSLOG, 19 USER, 20 UUCP; anything else is USER.
 */
void os_log_init(const char *name, uint32_t facility);

/* Turns the debug channel on, until the process ends. */
void os_debug_enable(void);

/*
 * Limits the debug channel to some levels.
 *
 * levels: bit N enables level N; 0 removes the mask, which enables every level.
 */
void os_mask_set(uint32_t levels);

/* Returns 1 if the mask enables this level, or no mask was set; else 0. */
int32_t os_mask_check(int level);

/* Writes one line to the debug channel, regardless of g_debug_log_enable and the mask. */
void os_debug_print(int level, const char *file, const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 5, 6)));

/* Writes one message to the system log, regardless of g_syslog_level. */
void os_trace_print(int level, const char *file, const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 5, 6)));

/*
 * Logs a violated condition: "ASSERT(%s) %s" at the warning level. It always returns.
 *
 * condition: logged if 0; anything else does nothing.
 * text: the condition's text. message: its meaning, or "".
 */
void os_log_assert(const char *file, const char *function, int line, int condition, const char *text,
                   const char *message);

/* Whether a channel accepts messages of a level. */
#define OS_LOG_TO_DEBUG(level) \
    (__atomic_load_n(&g_debug_log_enable, __ATOMIC_RELAXED) && os_mask_check(level))
#define OS_LOG_TO_SYSTEM(level) (__atomic_load_n(&g_syslog_level, __ATOMIC_RELAXED) >= (level))

/* The name of the source file without its folders; compilers before g++ 12 have no macro for it. */
#ifdef __FILE_NAME__
#define OS_LOG_FILE __FILE_NAME__
#else
#define OS_LOG_FILE (__builtin_strrchr("/" __FILE__, '/') + 1)
#endif

/* Logs a message on the debug channel only. */
#define OS_LOG_QUIET(level, ...)                                                   \
    do {                                                                           \
        if (OS_LOG_TO_DEBUG(level)) {                                              \
            const int os_log_errno = errno;                                        \
            os_debug_print((level), OS_LOG_FILE, __func__, __LINE__, __VA_ARGS__); \
            errno = os_log_errno;                                                  \
        }                                                                          \
    } while (0)

/* Logs a message under the name of another function, for steps that several functions share. */
#define OS_LOG_AS(function, level, ...)                                              \
    do {                                                                             \
        const int os_log_errno = errno;                                              \
        if (OS_LOG_TO_DEBUG(level)) {                                                \
            os_debug_print((level), OS_LOG_FILE, (function), __LINE__, __VA_ARGS__); \
        }                                                                            \
        if (OS_LOG_TO_SYSTEM(level)) {                                               \
            os_trace_print((level), OS_LOG_FILE, (function), __LINE__, __VA_ARGS__); \
        }                                                                            \
        errno = os_log_errno;                                                        \
    } while (0)

/* Logs a message: OS_LOG(level, format, arguments...). */
#define OS_LOG(level, ...) OS_LOG_AS(__func__, level, __VA_ARGS__)

/* Logs a failure as a warning, with its cause from errno. */
#define OS_LOG_ERRNO(text) OS_LOG_ERRNO_AS(__func__, text)

/* The same under the name of another function. */
#define OS_LOG_ERRNO_AS(function, text)                                                 \
    OS_LOG_AS(function, OS_LOG_WARNING, "%s errno=%d, cause: %s", (text), os_log_errno, \
              strerror(os_log_errno) /* NOLINT(concurrency-mt-unsafe) */)

/* Logs a violated condition; execution continues. text and message: see os_log_assert. */
#define OS_LOG_ASSERT(condition, text, message) \
    os_log_assert(OS_LOG_FILE, __func__, __LINE__, (condition) ? 1 : 0, (text), (message))

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
