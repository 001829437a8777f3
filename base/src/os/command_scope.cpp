/*
 * Marking a thread's commands, and ending whatever still carries the mark.
 */
#include "command_scope.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "os_process.h"
#include "os_time.h"
#include "owned_fd.h"

namespace {

/* How long a killed process may take to go. */
constexpr uint64_t kPatienceMs = 1000;
constexpr uint32_t kPauseMs = 1;

constexpr size_t kMarkSize = 96;

/* The calling thread's scope. */
struct Scope {
    char mark[kMarkSize] = ""; /* "NAME=1"; empty outside of a scope */
    bool used = false;         /* a command carries it */
};

thread_local Scope g_scope;

/* Marks with a name that no other thread has, nor had: no two threads share an id at one moment. */
void make_mark() {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    (void)snprintf(g_scope.mark, sizeof(g_scope.mark), "QUOR_COMMAND_%ld_%ld_%ld=1", syscall(SYS_gettid),
                   seconds, nanoseconds);
}

/* Whether the text stands in the file, read to its end in parts. */
bool file_has(int fd, const char *text) {
    char part[4096];
    const size_t length = strlen(text);
    size_t kept = 0;
    ssize_t got = 0;
    while ((got = read(fd, part + kept, sizeof(part) - kept)) > 0) {
        const size_t held = kept + static_cast<size_t>(got);
        if (memmem(part, held, text, length) != nullptr) {
            return true;
        }
        kept = std::min(held, length - 1);
        memmove(part, part + held - kept, kept);
    }
    return false;
}

/* A process that has ended shows an empty environment, even before it is reaped. */
bool carries_mark(pid_t pid) {
    char path[32];
    (void)snprintf(path, sizeof(path), "/proc/%ld/environ", static_cast<long>(pid));
    const OwnedFd environment(open(path, O_RDONLY | O_CLOEXEC));
    return environment && file_has(environment.get(), g_scope.mark);
}

/* The process that an entry of /proc stands for, or 0. */
pid_t process_of(const char *name) {
    pid_t pid = 0;
    const char *end = name + strlen(name);
    return std::from_chars(name, end, pid).ptr == end ? pid : 0;
}

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

/* Returns whether there was any. */
bool kill_marked() {
    const std::unique_ptr<DIR, CloseFolder> processes(opendir("/proc"));
    bool found = false;
    while (const dirent *entry = processes ? readdir(processes.get()) : nullptr) {
        const pid_t pid = process_of(entry->d_name);
        if (pid > 0 && carries_mark(pid)) {
            (void)kill(pid, SIGKILL);
            found = true;
        }
    }
    return found;
}

}  // namespace

void FreeEnvironment::operator()(char **entries) const {
    free(entries);
}

std::unique_ptr<char *, FreeEnvironment> command_environment() {
    size_t count = 0;
    while (environ != nullptr && environ[count] != nullptr) {
        ++count;
    }
    std::unique_ptr<char *, FreeEnvironment> entries(static_cast<char **>(calloc(count + 2, sizeof(char *))));
    if (entries) {
        std::copy_n(environ, count, entries.get());
        g_scope.used = g_scope.mark[0] != '\0';
        entries.get()[count] = g_scope.used ? g_scope.mark : nullptr;
    }
    return entries;
}

void os_command_scope_open(void) {
    g_scope = Scope{};
    make_mark();
}

int32_t os_command_scope_close(void) {
    os_simple_timer timer;
    os_simple_timer_start(&timer, kPatienceMs);
    bool found = g_scope.used && kill_marked();
    while (found && os_simple_timer_timeout(&timer) == 0) {
        os_msleep(kPauseMs);
        found = kill_marked();
    }
    g_scope = Scope{};
    return found ? -1 : 0;
}
