#include "log/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cli/complaint.h"
#include "device/access_words.h"
#include "device/text_file.h"

namespace {

constexpr int kLookMilliseconds = 200;

}  // namespace

std::string LogFile::read(const LineTaker &take) {
    const std::string problem = fd_ ? "" : open();
    char piece[65536];
    ssize_t count = problem.empty() ? 1 : 0;
    bool wanted = true;
    while (count > 0 && wanted) {
        count = ::read(fd_.get(), piece, sizeof(piece));
        lines_.add(piece, count > 0 ? static_cast<size_t>(count) : 0);
        at_ += count > 0 ? count : 0;
        for (std::string line; wanted && lines_.next(&line);) {
            wanted = take(line);
        }
    }
    return count < 0 ? errno_text("can't read " + path_, errno) : problem;
}

void LogFile::read_rest(const LineTaker &take) {
    const std::string line = lines_.rest();
    if (!line.empty()) {
        take(line);
    }
}

/* During a rotation the file may be missing for a moment. */
std::string LogFile::read_more(const SignalWatch &watch, const LineTaker &take) {
    (void)watch.wait(-1, kLookMilliseconds);
    const bool another = is_another();
    std::string problem = fd_ ? read(take) : "";
    if (another) {
        read_rest(take);
        fd_.reset();
    }
    if (problem.empty() && !fd_ && file_exists(path_)) {
        problem = read(take);
    }
    return problem;
}

std::string LogFile::open() {
    at_ = 0;
    fd_.reset(path_ == kStandardStream ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                       : ::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    return fd_ ? "" : failure_text("can't read " + path_, path_, errno);
}

/* Whether the path names another file now, or the file was truncated. */
bool LogFile::is_another() const {
    struct stat own = {};
    struct stat named = {};
    if (!fd_ || path_ == kStandardStream) {
        return false;
    }
    (void)::fstat(fd_.get(), &own); /* one that can't be asked any more stays all zeros, and so is another */
    const bool moved =
        ::stat(path_.c_str(), &named) != 0 || own.st_dev != named.st_dev || own.st_ino != named.st_ino;
    return moved || own.st_size < at_;
}

std::string first_file(const char *const *paths, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (file_exists(paths[i])) {
            return paths[i];
        }
    }
    return "";
}
