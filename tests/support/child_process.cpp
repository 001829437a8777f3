#include "support/child_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

/* A test can't go on without its pipes and processes. */
[[noreturn]] void give_up(const char *what) {
    std::perror(what);
    std::abort();
}

void make_pipe(int *reader, int *writer) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        give_up("pipe2");
    }
    *reader = ends[0];
    *writer = ends[1];
}

void close_fd(int *fd) {
    if (*fd >= 0) {
        ::close(*fd);
        *fd = -1;
    }
}

/* The array that exec takes; it lives as long as the texts. */
std::vector<char *> pointers(std::vector<std::string> *texts) {
    std::vector<char *> array;
    for (std::string &text : *texts) {
        array.push_back(text.data());
    }
    array.push_back(nullptr);
    return array;
}

std::string name_of(const std::string &entry) {
    return entry.substr(0, entry.find('=') + 1);
}

/* The test's environment, with entries replaced or added. */
std::vector<std::string> merged_environment(const std::vector<std::string> &added) {
    std::vector<std::string> merged = added;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        bool replaced = false;
        for (const std::string &own : added) {
            replaced = replaced || name_of(own) == name_of(*entry);
        }
        if (!replaced) {
            merged.emplace_back(*entry);
        }
    }
    return merged;
}

int status_of(int wait_status) {
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

int left_until(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

}  // namespace

bool has_ended(pid_t pid) {
    const std::string stat = file_text("/proc/" + std::to_string(pid) + "/stat");
    return stat.empty() || stat.find(") Z ") != std::string::npos;
}

ChildProcess::ChildProcess(const std::vector<std::string> &command,
                           const std::vector<std::string> &environment) {
    int input = -1;
    int output = -1;
    make_pipe(&input, &input_);
    make_pipe(&output_, &output);
    errors_ = ::memfd_create("errors", MFD_CLOEXEC);
    if (errors_ < 0) {
        give_up("memfd_create");
    }
    /* A program that ended must show as an error of the write, not as the end of the test. */
    (void)std::signal(SIGPIPE, SIG_IGN);
    start(command, environment, input, output);
    ::close(input);
    ::close(output);
}

#ifdef QUOR_COVERAGE
/* A program that is killed loses its counters, so it is first asked to end. */
void ChildProcess::end_counted() {
    send_signal(SIGTERM);
    exit_status(std::chrono::seconds(1));
}
#else
void ChildProcess::end_counted() {}
#endif

ChildProcess::~ChildProcess() {
    end_counted();
    kill();
    close_fd(&input_);
    close_fd(&output_);
    close_fd(&errors_);
}

void ChildProcess::start(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                         int input, int output) {
    std::vector<std::string> words = command;
    std::vector<std::string> entries = merged_environment(environment);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_, STDERR_FILENO);

    posix_spawnattr_t attributes;
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    errno = ::posix_spawnp(&pid_, words[0].c_str(), &actions, &attributes, pointers(&words).data(),
                           pointers(&entries).data());
    if (errno != 0) {
        give_up(words[0].c_str());
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

void ChildProcess::write_line(const std::string &line) {
    const std::string whole = line + "\n";
    size_t written = 0;
    while (written < whole.size()) {
        const ssize_t count = ::write(input_, whole.data() + written, whole.size() - written);
        if (count <= 0) {
            return;
        }
        written += static_cast<size_t>(count);
    }
}

void ChildProcess::close_input() {
    close_fd(&input_);
}

std::optional<std::string> ChildProcess::take_line() {
    const size_t end = pending_.find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::string line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    return line;
}

std::optional<std::string> ChildProcess::read_line(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    for (;;) {
        if (std::optional<std::string> line = take_line()) {
            return line;
        }
        pollfd readable = {output_, POLLIN, 0};
        char chunk[4096];
        ssize_t count = 0;
        if (::poll(&readable, 1, left_until(deadline)) > 0) {
            count = ::read(output_, chunk, sizeof(chunk));
        }
        if (count <= 0) {
            return std::nullopt;
        }
        pending_.append(chunk, static_cast<size_t>(count));
    }
}

std::string ChildProcess::errors() const {
    std::string text;
    char chunk[4096];
    ssize_t count = 0;
    while ((count = ::pread(errors_, chunk, sizeof(chunk), static_cast<off_t>(text.size()))) > 0) {
        text.append(chunk, static_cast<size_t>(count));
    }
    return text;
}

bool ChildProcess::wait_for_error(const std::string &text, std::chrono::milliseconds limit) const {
    return wait_until([&] { return errors().find(text) != std::string::npos; }, limit);
}

void ChildProcess::send_signal(int number) {
    if (running()) {
        ::kill(pid_, number);
    }
}

void ChildProcess::stop() {
    if (running()) {
        ::kill(pid_, SIGSTOP);
        siginfo_t info = {};
        (void)::waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOWAIT);
    }
}

void ChildProcess::kill() {
    send_signal(SIGKILL);
    exit_status();
}

bool ChildProcess::reap() {
    int wait_status = 0;
    if (pid_ > 0 && status_ < 0 && ::waitpid(pid_, &wait_status, WNOHANG) == pid_) {
        status_ = status_of(wait_status);
    }
    return status_ >= 0;
}

bool ChildProcess::running() {
    return !reap();
}

int ChildProcess::exit_status(std::chrono::milliseconds limit) {
    wait_until([this] { return reap(); }, limit);
    return status_;
}

size_t ChildProcess::descriptors() const {
    DIR *folder = ::opendir(("/proc/" + std::to_string(pid_) + "/fd").c_str());
    if (folder == nullptr) {
        return 0;
    }
    size_t count = 0;
    while (const dirent *entry = ::readdir(folder)) {
        count += entry->d_name[0] != '.' ? 1 : 0;
    }
    ::closedir(folder);
    return count;
}
