// Starts the command, passes signals on, and clears up after it. The launcher adopts every orphan below it,
// so that a daemon which a test left running can't outlive the test. Meanwhile it is the tree's log daemon.

#include "device_tree_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "device_tree_log.h"
#include "device_tree_mounts.h"
#include "output/spelt_text.h"
#include "support/folder_stream.h"
#include "support/unique_fd.h"

namespace device_tree {
namespace {

// Signals that ask the launcher to end, such as SIGHUP of a closed terminal. The command handles them.
constexpr int kPassedOn[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

sigset_t watched_signals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    for (const int number : kPassedOn) {
        sigaddset(&set, number);
    }
    return set;
}

[[noreturn]] void become_command(char **command, const sigset_t &mask, pid_t launcher) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != launcher) {
        _exit(2);
    }

    sigprocmask(SIG_SETMASK, &mask, nullptr);  // NOLINT(concurrency-mt-unsafe): there is one thread
    execvp(command[0], command);
    const int cause = errno;
    (void)fprintf(stderr, "device-tree: run %s: %s\n", spelt_out(command[0]).c_str(),
                  strerror(cause));  // NOLINT(concurrency-mt-unsafe)
    _exit(cause == ENOENT ? 127 : 126);
}

// Reaps all ended processes. Returns true, with the status, once the command is one of them.
bool reap(pid_t command, int *status) {
    bool ended = false;
    int any_status = 0;
    pid_t pid = 0;
    while ((pid = waitpid(-1, &any_status, WNOHANG)) > 0) {
        if (pid == command) {
            *status = any_status;
            ended = true;
        }
    }
    return ended;
}

// Passes on the received signals.
void pass_signals(int signals, pid_t command) {
    signalfd_siginfo info{};
    while (read(signals, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        if (info.ssi_signo != SIGCHLD) {
            kill(command, static_cast<int>(info.ssi_signo));
        }
    }
}

int wait_for(pid_t command, int signals, TreeLog *log) {
    int status = 0;
    pollfd readable[] = {{signals, POLLIN, 0}, {log != nullptr ? log->fd() : -1, POLLIN, 0}};
    while (!reap(command, &status)) {
        (void)poll(readable, std::size(readable), -1);
        pass_signals(signals, command);
        if (log != nullptr) {
            log->take_messages();
        }
    }
    return status;
}

// The parent of a process; 0 if unknown. The program's name may contain blanks and parentheses, so
// the fields are counted from the last one.
pid_t parent_of(const char *pid) {
    const UniqueFile file(fopen((std::string("/proc/") + pid + "/stat").c_str(), "re"));
    char text[512];
    const size_t length = file ? fread(text, 1, sizeof(text) - 1, file.get()) : 0;
    text[length] = '\0';
    constexpr char kFieldsBefore[] = ") S ";
    const char *fields = strrchr(text, ')');
    return fields == nullptr || strlen(fields) < sizeof(kFieldsBefore)
               ? 0
               : static_cast<pid_t>(strtol(fields + sizeof(kFieldsBefore) - 1, nullptr, 10));
}

void kill_children() {
    const UniqueFolderStream folder = open_folder_stream(AT_FDCWD, "/proc");
    if (!folder) {
        refuse("read", "/proc");
    }
    while (const char *name = next_name(folder)) {
        const auto pid = static_cast<pid_t>(strtol(name, nullptr, 10));
        if (pid > 0 && parent_of(name) == getpid()) {
            kill(pid, SIGKILL);
        }
    }
}

// A killed child's own children become ours before it can be reaped, so one round finds the next.
void kill_leftovers() {
    while (waitpid(-1, nullptr, WNOHANG) >= 0) {
        kill_children();
        waitpid(-1, nullptr, 0);
    }
}

}  // namespace

int run_command(char **command, TreeLog *log) {
    const sigset_t watched = watched_signals();
    sigset_t before;
    (void)signal(SIGCHLD, SIG_DFL);
    sigprocmask(SIG_BLOCK, &watched, &before);  // NOLINT(concurrency-mt-unsafe): there is one thread
    const UniqueFd signals(signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals) {
        refuse("watch", "signals");
    }
    prctl(PR_SET_CHILD_SUBREAPER, 1);

    const pid_t launcher = getpid();
    const pid_t child = fork();
    if (child < 0) {
        refuse("start", command[0]);
    }
    if (child == 0) {
        become_command(command, before, launcher);
    }

    (void)signal(SIGPIPE, SIG_IGN);  // from printing the log after its reader has gone
    const int status = wait_for(child, signals.get(), log);
    kill_leftovers();
    if (log != nullptr) {
        log->take_messages();
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace device_tree
