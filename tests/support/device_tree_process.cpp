// Starts the command, passes signals on, and clears up after it. The launcher adopts every orphan below it,
// so that a daemon which a test left running can't outlive the test.

#include "device_tree_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "device_tree_mounts.h"

namespace device_tree {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

struct CloseFile {
    void operator()(FILE *file) const { (void)fclose(file); }
};

sigset_t watched_signals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    return set;
}

[[noreturn]] void become_command(char **command, const sigset_t &mask, pid_t launcher) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != launcher) {
        _exit(2);
    }

    sigprocmask(SIG_SETMASK, &mask, nullptr);
    execvp(command[0], command);
    const int status = errno == ENOENT ? 127 : 126;
    (void)fprintf(stderr, "device-tree: run %s: %s\n", command[0], strerror(errno));
    _exit(status);
}

// Reaps whatever has ended. Returns true once the command is among it, with its status.
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

int wait_for(pid_t command, const sigset_t &signals) {
    int status = 0;
    while (!reap(command, &status)) {
        int number = 0;
        sigwait(&signals, &number);
        if (number == SIGTERM || number == SIGINT) {
            kill(command, number);
        }
    }
    return status;
}

// The parent of a process; 0 if unknown. The program's name may contain blanks and parentheses, so
// the fields are counted from the last one.
pid_t parent_of(const char *pid) {
    const std::unique_ptr<FILE, CloseFile> file(fopen((std::string("/proc/") + pid + "/stat").c_str(), "re"));
    char text[512];
    const size_t length = file ? fread(text, 1, sizeof(text) - 1, file.get()) : 0;
    text[length] = '\0';
    const char *fields = strrchr(text, ')');
    int parent = 0;
    if (fields == nullptr || sscanf(fields, ") %*c %d", &parent) != 1) {
        return 0;
    }
    return parent;
}

void kill_children() {
    const std::unique_ptr<DIR, CloseFolder> folder(opendir("/proc"));
    if (!folder) {
        refuse("read", "/proc");
    }
    while (const dirent *entry = readdir(folder.get())) {
        const int pid = atoi(entry->d_name);
        if (pid > 0 && parent_of(entry->d_name) == getpid()) {
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

int run_command(char **command) {
    const sigset_t signals = watched_signals();
    sigset_t before;
    (void)signal(SIGCHLD, SIG_DFL);
    sigprocmask(SIG_BLOCK, &signals, &before);
    prctl(PR_SET_CHILD_SUBREAPER, 1);

    const pid_t launcher = getpid();
    const pid_t child = fork();
    if (child < 0) {
        refuse("start", command[0]);
    }
    if (child == 0) {
        become_command(command, before, launcher);
    }

    const int status = wait_for(child, signals);
    kill_leftovers();
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace device_tree
