/*
 * The output file of a diagnostic. It contains one NUL until a shell opens it, which truncates it. This
 * distinguishes a tool without output from a tool that was never run.
 */
#include "frwk_diag/diag_output.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "formats/device_paths.h"
#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "os_process.h"
#include "support/folder_stream.h"

namespace {

constexpr mode_t kMode = 0600;
constexpr off_t kUntouchedSize = 1;

constexpr char kStopped[] = "\n(the output was stopped at 16 MiB)\n";
constexpr ssize_t kStoppedLength = sizeof(kStopped) - 1;
static_assert(OS_COMMAND_FILE_MAX == 16 * 1024 * 1024);

/* A file that is only just being made may not be locked yet. */
constexpr time_t kSureAge = 60;

constexpr const char *kTools[] = {"ping", "traceroute", "nslookup", "iperf"};

/* Whether a name is that of an output: TOOL_SECONDS_NANOSECONDS.txt. */
bool is_output_name(const char *name) {
    for (const char *tool : kTools) {
        const size_t length = std::strlen(tool);
        const char *rest = name + length;
        if (std::strncmp(name, tool, length) == 0 && *rest == '_') {
            return std::strcmp(rest + std::strspn(rest, "_0123456789"), ".txt") == 0;
        }
    }
    return false;
}

bool is_old(const struct stat &file) {
    timespec now = {};
    (void)::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec - file.st_mtime > kSureAge;
}

/* Without a living owner its lock is free. */
void remove_leftover(int folder, const char *name) {
    const UniqueFd fd(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat found = {};
    const bool is_left = fd && ::fstat(fd.get(), &found) == 0 && S_ISREG(found.st_mode) &&
                         found.st_uid == ::geteuid() && is_old(found) &&
                         ::flock(fd.get(), LOCK_EX | LOCK_NB) == 0;
    if (is_left && ::unlinkat(folder, name, 0) == 0) {
        FRWK_NOTICE(__func__, "removed %s/%s, which a killed process left", paths::kTempFolder, name);
    }
}

void remove_leftovers() {
    const UniqueFolderStream folder = open_folder_stream(AT_FDCWD, paths::kTempFolder);
    while (const char *name = next_name(folder)) {
        if (is_output_name(name)) {
            remove_leftover(::dirfd(folder.get()), name);
        }
    }
}

/* Whether a shell has opened the file, and the file still exists; if not, errno is set. */
bool was_written(int fd, const char *path) {
    struct stat found = {};
    if (::fstat(fd, &found) != 0) {
        return false;
    }
    char only = '\0';
    const bool untouched = found.st_size == kUntouchedSize && ::read(fd, &only, 1) == 1 && only == '\0';
    if (untouched) {
        (void)::unlink(path);
    }
    errno = ENOENT;
    return !untouched && found.st_nlink != 0;
}

/* A short write means that the disk is full; it doesn't set errno. */
bool write_that_it_stopped(int fd) {
    errno = ENOSPC;
    return ::pwrite(fd, kStopped, kStoppedLength, OS_COMMAND_FILE_MAX) == kStoppedLength;
}

}  // namespace

UniqueFd make_diag_output(const char *path) {
    remove_leftovers();
    UniqueFd output = open_guarded(path, O_RDWR | O_CREAT | O_TRUNC, kMode, Planted::kSetAside);
    if (output && ::ftruncate(output.get(), kUntouchedSize) != 0) {
        output.reset();
    }
    if (output) {
        (void)::flock(output.get(), LOCK_EX | LOCK_NB); /* says that its owner lives */
    }
    return output;
}

void mark_stopped_output(int output) {
    struct stat found = {};
    const bool is_known = ::fstat(output, &found) == 0;
    if (is_known && found.st_size != OS_COMMAND_FILE_MAX) {
        return;
    }
    if (!is_known || !write_that_it_stopped(output)) {
        FRWK_WARN_ERRNO(log_name::kDiagExec, "mark a stopped diag output error!");
    }
}

UniqueFile open_diag_output(UniqueFd output, const char *path) {
    if (!output || !was_written(output.get(), path)) {
        return UniqueFile();
    }
    return open_stream(std::move(output), "r");
}
