#include "examination.h"

#include <fcntl.h>
#include <ftw.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "formats/device_paths.h"
#include "os_mem.h"
#include "support/file_io.h"

namespace {

/* A private folder, removed with its content. */
class WorkFolder {
  public:
    WorkFolder() {
        const char *const parent = std::getenv("TMPDIR");
        path_ = std::string(parent != nullptr ? parent : "/tmp") + "/quorbase-check.XXXXXX";
        made_ = ::mkdtemp(path_.data()) != nullptr;
    }
    ~WorkFolder() {
        if (made_) {
            constexpr int kDescriptors = 4;
            (void)::nftw(
                path_.c_str(),
                [](const char *path, const struct stat *, int, FTW *) { return ::remove(path); },
                kDescriptors, FTW_DEPTH | FTW_PHYS);
        }
    }
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    bool made() const { return made_; }
    const std::string &path() const { return path_; }

  private:
    std::string path_;
    bool made_;
};

/* glibc's texts of system errors are constants. */
std::string system_error(int error) {
    return std::strerror(error);  // NOLINT(concurrency-mt-unsafe)
}

/* What the library and its commands print is not the table's. */
void silence_output() {
    const UniqueFd nowhere(::open(paths::kNullDevice, O_RDWR | O_CLOEXEC));
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        (void)::dup2(nowhere.get(), stream);
    }
}

/* The framework calls it before every other function that allocates. */
void start_memory(const LoadedLibrary &library) {
    const auto init = reinterpret_cast<decltype(&os_mem_init)>(library.address("os_mem_init"));
    if (init != nullptr) {
        const os_mem_settings settings = {};
        init(&settings);
    }
}

/* In the child: examines, and doesn't come back. */
[[noreturn]] void examine_here(const Subject &subject, const NamedCheck &check, const WorkFolder &folder,
                               UniqueFd report) {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    (void)::signal(SIGPIPE, SIG_DFL); /* ignored by quorbase-check; commands would inherit that */
    silence_output();
    const LoadedLibrary library(subject.path);
    const Examination examination(subject, library, folder.path(), std::move(report));
    if (!library.problem().empty()) {
        examination.end(Verdict::kWrong, library.problem());
    }
    if (check.name != nullptr) {
        if (library.address(check.name) == nullptr) {
            examination.end(Verdict::kMissing, "");
        }
        start_memory(library);
        check.check(examination);
    }
    examination.end(Verdict::kRight, "");
}

struct Report {
    std::string text; /* "" if the child has not reported */
    bool late;        /* the limit has passed */
};

Report read_report(int fd, unsigned limit) {
    std::string text;
    pollfd source = {fd, POLLIN, 0};
    char byte = 0;
    for (;;) {
        if (::poll(&source, 1, static_cast<int>(limit) * 1000) <= 0) {
            return {"", true};
        }
        if (::read(fd, &byte, 1) != 1) {
            return {"", false};
        }
        if (byte == '\0') {
            return {text, false};
        }
        text += byte;
    }
}

Finding finding_of_end(int status) {
    if (!WIFSIGNALED(status)) {
        return {Verdict::kWrong, "ends the process with status " + std::to_string(WEXITSTATUS(status))};
    }
    const int number = WTERMSIG(status);
    return {Verdict::kWrong, "ends the process with signal " + std::to_string(number) + " (" +
                                 ::strsignal(number) + ")"}; /* NOLINT(concurrency-mt-unsafe) */
}

Finding collect(pid_t child, int fd, unsigned limit) {
    const Report report = read_report(fd, limit);
    if (report.text.empty()) {
        (void)::kill(child, SIGKILL);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (report.late) {
        return {Verdict::kWrong, "does not return within " + std::to_string(limit) + " s"};
    }
    if (report.text.empty()) {
        return finding_of_end(status);
    }
    return {static_cast<Verdict>(report.text[0]), report.text.substr(1)};
}

Finding no_process() {
    return {Verdict::kNotCalled, "can not be started: " + system_error(errno)};
}

}  // namespace

void Examination::end(Verdict verdict, const std::string &text) const {
    std::string report(1, static_cast<char>(verdict));
    report += text.c_str();
    (void)file_io::write_all(report_.get(), report.c_str(), report.size() + 1);
    // A library's own clean-up must not keep the process, which has said what it had to.
    constexpr unsigned kCleanUpSeconds = 2;
    (void)::alarm(kCleanUpSeconds);
    std::exit(0); /* NOLINT(concurrency-mt-unsafe): whatever a library's threads do now is not reported */
}

void *Examination::demand(const char *name) const {
    void *const found = library_.address(name);
    if (found == nullptr) {
        end(Verdict::kNotCalled, std::string("needs ") + name + ", which is missing");
    }
    return found;
}

std::string Examination::file(const char *name, const std::string &content) const {
    const UniqueFd made(::open(path(name).c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
    if (!file_io::write_all(made.get(), content.data(), content.size())) {
        end(Verdict::kNotCalled, "no file for it: " + system_error(errno));
    }
    return path(name);
}

std::string Examination::content(const std::string &path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string read(4096, '\0');
    size_t count = 0;
    (void)file_io::read_up_to(file.get(), read.data(), read.size(), &count);
    read.resize(count);
    return read;
}

Finding examine(const Subject &subject, const NamedCheck &check) {
    const WorkFolder folder;
    int ends[2] = {-1, -1};
    if (!folder.made() || ::pipe2(ends, O_CLOEXEC) != 0) {
        return no_process();
    }
    const UniqueFd report(ends[0]);
    UniqueFd to_report(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        examine_here(subject, check, folder, std::move(to_report));
    }
    to_report.reset();
    return child > 0 ? collect(child, report.get(), subject.limit) : no_process();
}
