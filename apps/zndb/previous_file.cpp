#include "previous_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "damaged_file.h"
#include "file_steps.h"
#include "formats/device_paths.h"
#include "os_log.h"

namespace {

/* Has the link or copy that make makes of a file replace another one in one step. Returns 0 or an errno
 * value.
 */
int put(int (*make)(const std::string &from, const std::string &to), const std::string &from,
        const std::string &to) {
    const std::string temporary = to + paths::kTemporarySuffix;
    (void)::unlink(temporary.c_str());
    int error = make(from, temporary);
    if (error == 0 && ::rename(temporary.c_str(), to.c_str()) != 0) {
        error = errno;
    }
    (void)::unlink(temporary.c_str()); /* still there after a failure, or if both names are of one file */
    return error;
}

}  // namespace

std::string previous_of(const std::string &path) {
    return path + paths::kPreviousSuffix;
}

void keep_as_previous(const std::string &path) {
    const std::string previous = previous_of(path);
    const int error = put(link_or_copy, path, previous);
    if (error != 0 && error != ENOENT) {
        errno = error;
        OS_LOG_ERRNO(("can't keep " + previous).c_str());
    }
}

/* A copy: an editor that writes in place, or a bad block, must not change both. */
int bring_previous_back(const std::string &path) {
    const int error = put(copy_file, previous_of(path), path);
    return error == 0 ? sync_folder_of(path) : error;
}

bool give_previous_up(const std::string &path, int error) {
    const std::string previous = previous_of(path);
    if ((error != ENOSPC && error != EDQUOT) || ::unlink(previous.c_str()) != 0) {
        return false;
    }
    OS_LOG(OS_LOG_WARNING, "the disk is full: %s was removed to save %s", previous.c_str(), path.c_str());
    return true;
}
