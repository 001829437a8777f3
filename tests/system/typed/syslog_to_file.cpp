/*
 * The system log as a file: a library to preload into a program. Each message becomes a line of
 * "/tmp/m_tmp/system_log", whichever process it comes from.
 */
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#pragma GCC visibility push(default)

extern "C" void syslog(int, const char *format, ...) {
    char line[8192];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof(line) - 1, format, args);
    va_end(args);
    const int fd = open("/tmp/m_tmp/system_log", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (length < 0 || fd < 0) {
        return;
    }

    const size_t end = std::min(static_cast<size_t>(length), sizeof(line) - 2);
    line[end] = '\n';
    (void)!write(fd, line, end + 1);
    (void)close(fd);
}

#pragma GCC visibility pop
