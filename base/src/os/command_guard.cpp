/*
 * The two sides of the guard: the thread that starts it, and the guard's process.
 */
#include "command_guard.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>

#include "os_log.h"
#include "shell_child.h"
#include "support/folder_list.h"
#include "support/unique_fd.h"

namespace {

constexpr char kName[] = "quor-guard"; /* so that a search for the module's name doesn't find the guard */
constexpr int kAskerEnded = SIGHUP;
constexpr timespec kLookAgain = {1, 0};
constexpr int kStartMs = 1000; /* of the guard, and of a shell */

/*
 * Closes the inherited descriptors: when the module ends, its peers must see their connections closed and the
 * readers of its output the end of file. The guard's socket becomes descriptor 0, which frees a descriptor
 * for listing the others.
 */
void keep_only(int call) {
    (void)dup2(call, STDIN_FILENO);
    close(call);
    FolderList descriptors("/proc/self/fd");
    while (const char *name = descriptors.next()) {
        int fd = STDIN_FILENO;
        (void)std::from_chars(name, name + strlen(name), fd);
        if (fd != STDIN_FILENO && fd != descriptors.fd()) {
            close(fd);
        }
    }
}

/* Blocks all signals. Only the signal of the asker's end is delivered, and only during the wait. */
void take_no_signals(sigset_t *while_waiting) {
    struct sigaction wake = {};
    wake.sa_handler = [](int) {};
    (void)sigaction(kAskerEnded, &wake, nullptr);
    sigfillset(while_waiting);
    (void)pthread_sigmask(SIG_SETMASK, while_waiting, nullptr);
    sigdelset(while_waiting, kAskerEnded);
}

bool is_alive(const GuardAsker &asker) {
    return getppid() == asker.process && syscall(SYS_tgkill, asker.process, asker.thread, 0) == 0;
}

/*
 * Waits for a byte from the asker, or for its end. Other forks of its process may hold its end of the socket
 * open, so the guard also waits for a signal, which the kernel sends as soon as the thread ends, even if the
 * process continues. The thread may have ended before the guard asked for this signal, or be about to, so the
 * guard also looks whether it is there, now and each second.
 */
bool is_dismissed(const GuardAsker &asker, const sigset_t &while_waiting) {
    pollfd call = {STDIN_FILENO, POLLIN, 0};
    char word = 0;
    int ready = 0;
    while (ready == 0 && is_alive(asker)) {
        ready = ppoll(&call, 1, &kLookAgain, &while_waiting);
    }
    return ready > 0 && recv(STDIN_FILENO, &word, 1, MSG_DONTWAIT) == 1;
}

/*
 * A shell that was about to start when the asker ended may not have its mark yet, but it has a copy of the
 * asker's end of the socket until then. The limit is for other copies, which forks of the process hold.
 */
void wait_for_shells_that_start() {
    pollfd call = {STDIN_FILENO, POLLIN, 0};
    (void)poll(&call, 1, kStartMs);
}

/* Waits until a kill of the module's process group would not end the guard, or a second has passed. */
void wait_until_guarded(int call) {
    pollfd ready = {call, POLLIN, 0};
    (void)poll(&ready, 1, kStartMs);
}

}  // namespace

void guard_commands(int call, const GuardAsker &asker, void (*act)()) {
    sigset_t while_waiting;
    take_no_signals(&while_waiting);
    (void)setsid(); /* a kill of the asker's process group, or by its terminal, must not end the guard */
    (void)prctl(PR_SET_NAME, kName);
    (void)prctl(PR_SET_PDEATHSIG, kAskerEnded);
    keep_only(call);
    (void)send(STDIN_FILENO, "", 1, MSG_NOSIGNAL);
    if (is_dismissed(asker, while_waiting)) {
        return;
    }
    act();
    wait_for_shells_that_start();
    act();
}

void CommandGuard::start(void (*act)()) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        OS_LOG_ERRNO("make a call to the guard of commands error!");
        return;
    }
    UniqueFd call(ends[0]);
    UniqueFd guards_end(ends[1]);
    const GuardAsker asker = {getpid(), static_cast<pid_t>(syscall(SYS_gettid))};
    const pid_t guard = fork();
    if (guard == 0) {
        guard_commands(ends[1], asker, act);  // GCOVR_EXCL_LINE: in a process that writes no counters
        _exit(0);                             // GCOVR_EXCL_LINE
    }
    if (guard < 0) {
        OS_LOG_ERRNO("start the guard of commands error!");
        return;
    }
    guard_ = guard;
    call_ = call.take();
    guards_end.reset();
    wait_until_guarded(call_);
}

void CommandGuard::dismiss() {
    if (call_ < 0) {
        return;
    }
    (void)send(call_, "", 1, MSG_NOSIGNAL);
    close(call_);
    call_ = -1;
    (void)wait_for_shell(guard_);
}
