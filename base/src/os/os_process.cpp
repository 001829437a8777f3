/*
 * Shell commands, and the open pipes to them.
 *
 * A registry maps each stream to its shell, since a stream doesn't have the process id.
 */
#include "os_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "shell_child.h"
#include "support/held_over_forks.h"
#include "support/unique_fd.h"

namespace {

/* The status that system(3) returns if the shell can't be run. */
constexpr int kNoShellStatus = 127 << 8;

/* An open pipe. */
struct PipeEntry {
    FILE *stream = nullptr;
    pid_t shell = -1;
    PipeEntry *next = nullptr;
};

struct FreeEntry {
    void operator()(PipeEntry *entry) const { free(entry); }
};

/* Allocated by the C library, not as tracked memory: a module at its limit can still run a tool. */
using OwnedEntry = std::unique_ptr<PipeEntry, FreeEntry>;

/* The open pipes, newest first, protected by the mutex. */
struct PipeRegistry {
    std::mutex mutex;
    PipeEntry *first = nullptr;
};

PipeRegistry g_pipes;

void enter_pipe(OwnedEntry entry) {
    const std::lock_guard<std::mutex> lock(g_pipes.mutex);
    entry->next = g_pipes.first;
    g_pipes.first = entry.release();
}

/* Removes a pipe. Returns its shell, or -1 if the stream is not a registered pipe. */
pid_t leave_pipe(const FILE *stream) {
    const std::lock_guard<std::mutex> lock(g_pipes.mutex);
    PipeEntry **place = &g_pipes.first;
    while (*place != nullptr && (*place)->stream != stream) {
        place = &(*place)->next;
    }
    if (*place == nullptr) {
        return -1;
    }
    const OwnedEntry entry(*place);
    *place = entry->next;
    return entry->shell;
}

__attribute__((constructor)) void hold_pipes_over_forks() {
    hold_over_forks<g_pipes>();
}

/* Returns -1 if no process could be started, for example without memory; a wait status if there is no shell.
 */
int start_failure() {
    return errno == EAGAIN || errno == ENOMEM ? -1 : kNoShellStatus;
}

bool is_mode(const char *mode) {
    return mode != nullptr && (strcmp(mode, "r") == 0 || strcmp(mode, "w") == 0);
}

}  // namespace

int32_t os_system(const char *command) {
    if (command == nullptr) {
        errno = EINVAL;
        return -1;
    }

    const ForegroundWait wait;
    const pid_t shell = start_shell(command, -1, -1);
    return shell >= 0 ? wait_for_shell(shell) : start_failure();
}

FILE *os_popen(const char *command, const char *mode) {
    if (command == nullptr || !is_mode(mode)) {
        errno = EINVAL;
        return nullptr;
    }

    OwnedEntry entry(static_cast<PipeEntry *>(calloc(1, sizeof(PipeEntry))));
    int ends[2];
    if (!entry || pipe2(ends, O_CLOEXEC) != 0) {
        return nullptr;
    }
    const bool reading = *mode == 'r';
    const UniqueFd shells_end(ends[reading ? 1 : 0]);
    UniqueFile stream = open_stream(UniqueFd(ends[reading ? 0 : 1]), mode);
    if (!stream) {
        return nullptr;
    }

    entry->stream = stream.get();
    entry->shell = start_shell(command, shells_end.get(), reading ? STDOUT_FILENO : STDIN_FILENO);
    if (entry->shell < 0) {
        return nullptr;
    }
    enter_pipe(std::move(entry));
    return stream.take();
}

int32_t os_pclose(FILE *stream) {
    if (stream == nullptr) {
        errno = EINVAL;
        return -1;
    }

    const pid_t shell = leave_pipe(stream);
    (void)fclose(stream);
    if (shell < 0) {
        errno = ECHILD;
        return -1;
    }
    return wait_for_shell(shell);
}
