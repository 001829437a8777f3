#include "log/program_reader.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "cli/complaint.h"

namespace {

/* Where a program is looked for without a PATH. */
constexpr char kUsualPath[] = "/bin:/usr/bin";

/* The posix_spawn settings: output to a pipe, and default signals. */
class SpawnSettings {
  public:
    explicit SpawnSettings(int output) {
        sigset_t none;
        sigset_t broken_pipe;
        sigemptyset(&none);
        sigemptyset(&broken_pipe);
        sigaddset(&broken_pipe, SIGPIPE);
        (void)::posix_spawnattr_init(&attributes_);
        (void)::posix_spawnattr_setsigmask(&attributes_, &none);
        (void)::posix_spawnattr_setsigdefault(&attributes_, &broken_pipe);
        (void)::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        (void)::posix_spawn_file_actions_init(&actions_);
        (void)::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    }
    ~SpawnSettings() {
        (void)::posix_spawn_file_actions_destroy(&actions_);
        (void)::posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    /* Returns 0 or an errno value. */
    int start(std::vector<std::string> &words, pid_t *pid) const {
        std::vector<char *> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string &word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        return ::posix_spawnp(pid, arguments[0], &actions_, &attributes_, arguments.data(), environ);
    }

  private:
    posix_spawnattr_t attributes_;
    posix_spawn_file_actions_t actions_;
};

}  // namespace

ProgramReader::ProgramReader(std::vector<std::string> words) : name_(words[0]) {
    int ends[2] = {-1, -1};
    int error = ::pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno;
    if (error == 0) {
        output_.reset(ends[0]);
        const UniqueFd programs_end(ends[1]);
        error = SpawnSettings(programs_end.get()).start(words, &pid_);
    }
    if (error != 0) {
        pid_ = -1;
        problem_ = errno_text("can't run " + name_, error);
    }
}

ProgramReader::~ProgramReader() {
    if (pid_ > 0) {
        (void)::kill(pid_, SIGTERM);
        (void)::waitpid(pid_, nullptr, 0);
    }
}

void ProgramReader::read(const SignalWatch &watch, const LineTaker &take) {
    LineSplitter lines;
    char piece[65536];
    bool wanted = true;
    while (wanted && watch.wait(output_.get(), -1)) {
        const ssize_t count = ::read(output_.get(), piece, sizeof(piece));
        if (count <= 0) {
            return;
        }
        lines.add(piece, static_cast<size_t>(count));
        for (std::string line; wanted && lines.next(&line);) {
            wanted = take(line);
        }
    }
}

std::string ProgramReader::end() {
    int status = 0;
    (void)::waitpid(std::exchange(pid_, -1), &status, 0);
    const bool fine = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return fine ? "" : name_ + " failed";
}

bool is_program(const std::string &name) {
    const char *path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : kUsualPath);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (::access(folder.append("/").append(name).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}
