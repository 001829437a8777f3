/*
 * The output file of a diagnostic. It contains one NUL until a shell opens it, which truncates it. This
 * distinguishes a tool without output from a tool that was never run.
 */
#include "frwk_diag/diag_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "os_process.h"

namespace {

constexpr mode_t kMode = 0600;
constexpr off_t kUntouchedSize = 1;

constexpr char kStopped[] = "\n(the output was stopped at 16 MiB)\n";
constexpr ssize_t kStoppedLength = sizeof(kStopped) - 1;
static_assert(OS_COMMAND_FILE_MAX == 16 * 1024 * 1024);

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
    UniqueFd output = open_guarded(path, O_RDWR | O_CREAT | O_TRUNC, kMode, Planted::kSetAside);
    if (output && ::ftruncate(output.get(), kUntouchedSize) != 0) {
        output.reset();
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
