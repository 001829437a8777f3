/*
 * Starts shells and waits for them.
 */
#include "shell_child.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <iterator>
#include <mutex>

#include "command_environment.h"
#include "command_prelude.h"
#include "support/held_over_forks.h"

namespace {

constexpr char kShell[] = "/bin/sh";
constexpr int kKeyboardSignals[] = {SIGINT, SIGQUIT};

/* The state of the keyboard signals, protected by the mutex. */
struct KeyboardState {
    std::mutex mutex;
    unsigned waits = 0; /* threads that wait for a command in the foreground */
    struct sigaction before[std::size(kKeyboardSignals)] = {};
};

KeyboardState g_keyboard;

void ignore_keyboard() {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    const std::lock_guard<std::mutex> lock(g_keyboard.mutex);
    if (g_keyboard.waits++ > 0) {
        return;
    }
    for (size_t i = 0; i < std::size(kKeyboardSignals); ++i) {
        (void)sigaction(kKeyboardSignals[i], &ignore, &g_keyboard.before[i]);
    }
}

void set_keyboard_as_before() {
    for (size_t i = 0; i < std::size(kKeyboardSignals); ++i) {
        (void)sigaction(kKeyboardSignals[i], &g_keyboard.before[i], nullptr);
    }
}

void restore_keyboard() {
    const std::lock_guard<std::mutex> lock(g_keyboard.mutex);
    if (--g_keyboard.waits == 0) {
        set_keyboard_as_before();
    }
}

/* The threads that wait for a command don't exist in the child. */
void release_keyboard_in_child() {
    if (g_keyboard.waits > 0) {
        g_keyboard.waits = 0;
        set_keyboard_as_before();
    }
    unlock_after_fork<g_keyboard>();
}

__attribute__((constructor)) void hold_keyboard_over_forks() {
    hold_over_forks<g_keyboard>(release_keyboard_in_child);
}

/* The signals that a shell starts with at their default action. */
sigset_t default_signals() {
    sigset_t set;
    sigfillset(&set);
    const std::lock_guard<std::mutex> lock(g_keyboard.mutex);
    for (size_t i = 0; i < std::size(kKeyboardSignals); ++i) {
        struct sigaction action = g_keyboard.before[i];
        if (g_keyboard.waits == 0) {
            (void)sigaction(kKeyboardSignals[i], nullptr, &action);
        }
        if (action.sa_handler == SIG_IGN) {
            sigdelset(&set, kKeyboardSignals[i]);
        }
    }
    return set;
}

/* The posix_spawn attributes of a shell: its signals and, if it has one, its end of a pipe. */
class StartSettings {
  public:
    StartSettings(int fd, int standard_fd) {
        error_ = posix_spawnattr_init(&attr_);
        if (error_ == 0) {
            error_ = posix_spawn_file_actions_init(&actions_);
        }
        if (error_ == 0) {
            error_ = fill(fd, standard_fd);
        }
    }
    ~StartSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attr_);
    }
    StartSettings(const StartSettings &) = delete;
    StartSettings &operator=(const StartSettings &) = delete;

    int error() const { return error_; }
    const posix_spawnattr_t *attr() const { return &attr_; }
    const posix_spawn_file_actions_t *actions() const { return &actions_; }

  private:
    int fill(int fd, int standard_fd) {
        const sigset_t defaults = default_signals();
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attr_, &defaults);
        posix_spawnattr_setsigmask(&attr_, &none);
        posix_spawnattr_setflags(&attr_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        return fd >= 0 ? posix_spawn_file_actions_adddup2(&actions_, fd, standard_fd) : 0;
    }

    posix_spawnattr_t attr_ = {};
    posix_spawn_file_actions_t actions_ = {};
    int error_;
};

}  // namespace

pid_t start_shell(const char *command, int fd, int standard_fd) {
    const StartSettings settings(fd, standard_fd);
    const auto environment = command_environment();
    if (!environment) {
        return -1;
    }

    int error = settings.error();
    pid_t shell = -1;
    if (error == 0) {
        const char *prelude = command_prelude();
        const char *const plain[] = {"sh", "-c", command, nullptr};
        const char *const prepared[] = {"sh", "-c", prelude, "sh", command, nullptr};
        error =
            posix_spawn(&shell, kShell, settings.actions(), settings.attr(),
                        const_cast<char *const *>(prelude != nullptr ? prepared : plain), environment.get());
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return shell;
}

int wait_for_shell(pid_t shell) {
    int status = 0;
    while (waitpid(shell, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

ForegroundWait::ForegroundWait() {
    ignore_keyboard();
    sigset_t child_ended;
    sigemptyset(&child_ended);
    sigaddset(&child_ended, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &child_ended, &mask_before_);
}

ForegroundWait::~ForegroundWait() {
    const int kept = errno;
    pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    restore_keyboard();
    errno = kept;
}
