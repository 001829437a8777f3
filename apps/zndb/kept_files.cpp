#include "kept_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "file_steps.h"
#include "formats/device_paths.h"
#include "os_log.h"
#include "support/file_io.h"

namespace {

/* As the backup has them. */
constexpr const char *kFiles[] = {paths::kWebAccounts, paths::kWebKeys, paths::kDataManager};

constexpr mode_t kModeBits = 07777;

/* Only a failure is logged. */
int report(const char *what, const std::string &path, int error) {
    errno = error;
    OS_LOG_ERRNO((what + (" " + path)).c_str());
    return error;
}

/* Copies content and mode to a file that is open, and syncs it. */
int copy_content(int from, int to) {
    struct stat found = {};
    const bool copied = ::fstat(from, &found) == 0 && file_io::copy_rest(from, to) == file_io::Copied::kAll &&
                        ::fchmod(to, found.st_mode & kModeBits) == 0 && ::fsync(to) == 0;
    return copied ? 0 : errno;
}

/* The target keeps its inode, and so its owner. Returns ENOENT if there is nothing to copy. */
int copy_file(const std::string &from, const std::string &to) {
    UniqueFd source;
    UniqueFd target;
    int error = open_file(from, O_RDONLY, source);
    if (error != 0) {
        return error;
    }
    error = make_folder_of(to);
    if (error == 0) {
        error = open_file(to, O_WRONLY | O_CREAT | O_TRUNC, target);
    }
    if (error == 0) {
        error = copy_content(source.get(), target.get());
    }
    error = error == 0 ? sync_folder_of(to) : error;
    return error == ENOENT ? EIO : error;
}

int remove_file(const std::string &path) {
    if (::unlink(path.c_str()) == 0) {
        return sync_folder_of(path);
    }
    return errno == ENOENT ? 0 : errno;
}

}  // namespace

int KeptFiles::keep(std::string &signs) {
    signs.clear();
    for (size_t i = 0; i < std::size(kFiles); ++i) {
        const int error = copy_file(kFiles[i], copy_of(i));
        if (error != 0 && error != ENOENT) {
            return report("can't copy", kFiles[i], error);
        }
        signs += error == 0 ? '+' : '-';
    }
    return 0;
}

int KeptFiles::put_back(const std::string &signs) {
    for (size_t i = 0; i < std::min(signs.size(), std::size(kFiles)); ++i) {
        const int error = signs[i] == '+' ? copy_file(copy_of(i), kFiles[i]) : remove_file(kFiles[i]);
        if (error != 0) {
            return report("can't bring back", kFiles[i], error);
        }
    }
    return 0;
}

void KeptFiles::drop() {
    for (size_t i = 0; i < std::size(kFiles); ++i) {
        (void)::unlink(copy_of(i).c_str());
    }
}
