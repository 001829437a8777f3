#include "output/output_failure.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cli/complaint.h"

namespace {

/* Also true if a write failed earlier and errno has changed since. */
bool has_reader_left() {
    struct stat info = {};
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return ::fstat(STDOUT_FILENO, &info) == 0 && S_ISFIFO(info.st_mode) && ::poll(&output, 1, 0) == 1 &&
           (output.revents & POLLERR) != 0;
}

}  // namespace

ExitCode output_failure(int error) {
    if (error == EPIPE || has_reader_left()) {
        return ExitCode::kDone;
    }
    return complain(ExitCode::kRefused, errno_text("can't write the output", error));
}
