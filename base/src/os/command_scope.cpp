/*
 * Marks a thread's commands, and kills every process that still has the mark.
 */
#include "command_scope.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "command_guard.h"
#include "os_process.h"
#include "os_time.h"
#include "support/folder_list.h"
#include "support/unique_fd.h"

namespace {

/* How long to wait for killed processes to disappear. */
constexpr uint64_t kPatienceMs = 1000;
constexpr uint32_t kPauseMs = 1;

/*
 * A process in exec hides its mark, for a moment even after /proc shows its arguments. Another scan may
 * fail to read its environment. So three scans must find nothing.
 */
constexpr int kLooksWithoutAny = 3;

constexpr size_t kMarkSize = 96;

/* The calling thread's scope. */
struct Scope {
    char mark[kMarkSize] = ""; /* "NAME=1"; empty outside a scope */
    bool used = false;         /* a command has the mark */
    CommandGuard guard;        /* runs if used is true */
};

thread_local Scope g_scope;

/* Makes a name that no thread has used before: no two threads have the same id at the same moment. */
void make_mark() {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    (void)snprintf(g_scope.mark, sizeof(g_scope.mark), "QUOR_COMMAND_%ld_%ld_%ld=1", syscall(SYS_gettid),
                   seconds, nanoseconds);
}

enum class Answer {
    kNo,
    kYes,
    kUnknown /* the system can't determine it at the moment */
};

/*
 * A process that has ended meanwhile, or belongs to another user, is not part of the scope. The errno value
 * depends on how /proc is mounted.
 */
Answer no_unless_out_of_means() {
    constexpr int kNotOurs[] = {ENOENT, ESRCH, EACCES, EPERM};
    const bool not_ours = std::find(std::begin(kNotOurs), std::end(kNotOurs), errno) != std::end(kNotOurs);
    return not_ours ? Answer::kNo : Answer::kUnknown;
}

/* Whether the file contains the text. Reads the file in parts. */
Answer file_has(int fd, const char *text) {
    char part[4096];
    const size_t length = strlen(text);
    size_t kept = 0;
    ssize_t got = 0;
    while ((got = read(fd, part + kept, sizeof(part) - kept)) > 0) {
        const size_t held = kept + static_cast<size_t>(got);
        if (memmem(part, held, text, length) != nullptr) {
            return Answer::kYes;
        }
        kept = std::min(held, length - 1);
        memmove(part, part + held - kept, kept);
    }
    return got == 0 ? Answer::kNo : no_unless_out_of_means();
}

constexpr size_t kEntrySize = 40;

void entry_path(pid_t pid, const char *entry, char (&path)[kEntrySize]) {
    (void)snprintf(path, sizeof(path), "/proc/%ld/%s", static_cast<long>(pid), entry);
}

UniqueFd open_entry(pid_t pid, const char *entry) {
    char path[kEntrySize];
    entry_path(pid, entry, path);
    return UniqueFd(open(path, O_RDONLY | O_CLOEXEC));
}

/* The environment of an ended process is empty, even before the process is reaped. */
Answer carries_mark(pid_t pid) {
    const UniqueFd environment = open_entry(pid, "environ");
    return environment ? file_has(environment.get(), g_scope.mark) : no_unless_out_of_means();
}

/* Whether a process runs a program: false for ended processes and for kernel threads. */
bool runs_program(pid_t pid) {
    char path[kEntrySize];
    char first = '\0';
    entry_path(pid, "exe", path);
    return readlink(path, &first, sizeof(first)) > 0;
}

/*
 * Whether a process is in exec: for a moment /proc then shows neither its arguments nor its environment, so
 * it is unknown whether it has the mark.
 */
bool is_between_programs(pid_t pid) {
    char first = '\0';
    const UniqueFd arguments = open_entry(pid, "cmdline");
    return arguments && read(arguments.get(), &first, sizeof(first)) == 0 && runs_program(pid);
}

/* The process id of an entry of /proc, or 0. */
pid_t process_of(const char *name) {
    pid_t pid = 0;
    const char *end = name + strlen(name);
    return std::from_chars(name, end, pid).ptr == end ? pid : 0;
}

/* Kills a process if it is marked. Returns true if it was marked or that is unknown. */
bool kill_if_marked(pid_t pid) {
    const Answer marked = carries_mark(pid);
    if (marked == Answer::kYes) {
        (void)kill(pid, SIGKILL);
    }
    return marked != Answer::kNo || is_between_programs(pid);
}

/* The next process in /proc; 0 at the end, with errno set after a read error. */
pid_t next_process(FolderList &processes) {
    pid_t pid = 0;
    const char *name = nullptr;
    do {
        errno = 0;
        name = processes.next();
        pid = name != nullptr ? process_of(name) : 0;
    } while (name != nullptr && pid == 0);
    return pid;
}

/* Scans all processes once. Returns true if one was marked or that is unknown. */
bool kill_marked() {
    FolderList processes("/proc");
    if (!processes) {
        return true;
    }
    bool found = false;
    while (const pid_t pid = next_process(processes)) {
        found = kill_if_marked(pid) || found;
    }
    return found || errno != 0;
}

/* Scans until no process is marked. Returns false if one still is at the end of the time. */
bool end_marked() {
    os_simple_timer timer;
    os_simple_timer_start(&timer, kPatienceMs);
    int without_any = 0;
    for (;;) {
        without_any = kill_marked() ? 0 : without_any + 1;
        if (without_any >= kLooksWithoutAny) {
            return true;
        }
        if (os_simple_timer_timeout(&timer) != 0) {
            return false;
        }
        os_msleep(kPauseMs);
    }
}

}  // namespace

char *command_mark() {
    if (!in_command_scope()) {
        return nullptr;
    }
    if (!g_scope.used) {
        g_scope.used = true;
        g_scope.guard.start([] { (void)end_marked(); });
    }
    return g_scope.mark;
}

bool in_command_scope() {
    return g_scope.mark[0] != '\0';
}

void os_command_scope_open(void) {
    g_scope.guard.dismiss();
    g_scope = Scope{};
    make_mark();
}

int32_t os_command_scope_close(void) {
    const bool none_left = !g_scope.used || end_marked();
    g_scope.guard.dismiss();
    g_scope = Scope{};
    return none_left ? 0 : -1;
}
