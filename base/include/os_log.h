/*
 * The two log channels: the debug channel on standard error, and the system log.
 *
 * Modules write with the OS_LOG macros, which add file, function and line, keep errno, and evaluate and
 * format their arguments only when a channel takes the message (OS_LOG once for each channel that does).
 * One message is one line: a line end at its end is dropped, any other control character is spelt out
 * ("\n", "\r", "\x1b"), and what is too long ends in "...". Of identical lines ten are written within any
 * second, also where up to eight different ones take turns; the eleventh and those after it are folded into a
 * count of the repeats since the last that was written, "last message repeated 10 times", or "message
 * repeated 10 times: " and the line's beginning where another one was written in between. A count is shown at
 * 10, 100, 1000 and so on, before the next line that is written, at the first repeat after a minute without a
 * sign of the line, and when the process ends by exit.
 *
 * The system log gets its lines as from syslog(3), over a socket of the library's own: a daemon that is
 * stopped holds nobody up. It is waited for once, 100 ms at most; what it doesn't take is lost, and counted
 * in a line before the next one that it takes, or when the process ends by exit.
 *
 * Every function and macro may be used from any thread, and all but os_log_init in a forked child, whatever
 * the other threads of its parent were about to write. A fork waits until no other thread is writing a line.
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

/* Message levels, those of syslog(3) and one more below them. */
enum {
    OS_LOG_WARNING = 4,
    OS_LOG_NOTICE = 5,
    OS_LOG_INFO = 6,
    OS_LOG_DEBUG = 7,
    OS_LOG_VERBOSE = 8 /* the system log takes it as its debug level */
};

/* 1 while the debug channel is on. Set by os_debug_enable or QUOR_DEBUG=1; it stays on. */
extern int g_debug_log_enable;

/* The system log takes messages of this level and below; 4 unless QUOR_SYSLOG_LEVEL says otherwise. */
extern int g_syslog_level;

/*
 * Names the process in both channels and for calls of syslog(3), and reads QUOR_DEBUG and QUOR_SYSLOG_LEVEL,
 * which were read when the library was loaded, once more. May be called again at any time; a variable that is
 * not set, or is neither "1" nor one digit from 0 to 8, changes nothing.
 *
 * name: copied, at most 63 characters; null stands for "unknown".
 * facility: 1 AUTH, 2 AUTHPRIV, 3 CRON, 4 DAEMON, 5 FTP, 6 KERN, 7 to 14 LOCAL0 to LOCAL7, 15 LPR,
 *           16 MAIL, 17 NEWS, 18 SYSLOG, 19 USER, 20 UUCP; anything else is USER.
 */
void os_log_init(const char *name, uint32_t facility);

/* Turns the debug channel on, for the life of the process. */
void os_debug_enable(void);

/*
 * Limits the debug channel to some levels.
 *
 * levels: bit N lets messages of level N pass; 0 removes the mask, and every level passes.
 */
void os_mask_set(uint32_t levels);

/* Returns 1 when the mask lets messages of this level pass, or no mask was set; else 0. */
int32_t os_mask_check(int level);

/* Writes one line to the debug channel, whatever g_debug_log_enable and the mask say. */
void os_debug_print(int level, const char *file, const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 5, 6)));

/* Writes one message to the system log, whatever g_syslog_level says. */
void os_trace_print(int level, const char *file, const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 5, 6)));

/*
 * Reports a condition that does not hold: "ASSERT(%s) %s" at the warning level. It always returns.
 *
 * condition: 0 reports; anything else does nothing.
 * text: the condition as it is to be shown. message: what it means, or "".
 */
void os_log_assert(const char *file, const char *function, int line, int condition, const char *text,
                   const char *message);

/* Whether each channel takes a message of a level. */
#define OS_LOG_TO_DEBUG(level) \
    (__atomic_load_n(&g_debug_log_enable, __ATOMIC_RELAXED) && os_mask_check(level))
#define OS_LOG_TO_SYSTEM(level) (__atomic_load_n(&g_syslog_level, __ATOMIC_RELAXED) >= (level))

/* Logs a message on the debug channel only. */
#define OS_LOG_QUIET(level, ...)                                                     \
    do {                                                                             \
        if (OS_LOG_TO_DEBUG(level)) {                                                \
            const int os_log_errno = errno;                                          \
            os_debug_print((level), __FILE_NAME__, __func__, __LINE__, __VA_ARGS__); \
            errno = os_log_errno;                                                    \
        }                                                                            \
    } while (0)

/* Logs a message under the name of another function, for steps that several functions share. */
#define OS_LOG_AS(function, level, ...)                                                \
    do {                                                                               \
        const int os_log_errno = errno;                                                \
        if (OS_LOG_TO_DEBUG(level)) {                                                  \
            os_debug_print((level), __FILE_NAME__, (function), __LINE__, __VA_ARGS__); \
        }                                                                              \
        if (OS_LOG_TO_SYSTEM(level)) {                                                 \
            os_trace_print((level), __FILE_NAME__, (function), __LINE__, __VA_ARGS__); \
        }                                                                              \
        errno = os_log_errno;                                                          \
    } while (0)

/* Logs a message: OS_LOG(level, format, arguments...). */
#define OS_LOG(level, ...) OS_LOG_AS(__func__, level, __VA_ARGS__)

/* Logs, as a warning, a failure that left its cause in errno. */
#define OS_LOG_ERRNO(text) OS_LOG_ERRNO_AS(__func__, text)

/* The same under the name of another function. */
#define OS_LOG_ERRNO_AS(function, text)                                                 \
    OS_LOG_AS(function, OS_LOG_WARNING, "%s errno=%d, cause: %s", (text), os_log_errno, \
              strerror(os_log_errno) /* NOLINT(concurrency-mt-unsafe) */)

/* Reports a condition that does not hold; execution goes on. text and message: see os_log_assert. */
#define OS_LOG_ASSERT(condition, text, message) \
    os_log_assert(__FILE_NAME__, __func__, __LINE__, (condition) ? 1 : 0, (text), (message))

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
