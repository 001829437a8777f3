#include "file_steps.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "support/file_io.h"

namespace {

constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0600;

std::string folder_of(const std::string &path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

int file_kind_error(int fd) {
    struct stat info = {};
    if (::fstat(fd, &info) != 0) {
        return errno;
    }
    return file_io::kind_error(info);
}

/* Creates a folder whose parent exists, and syncs the parent, so that the new name survives a power cut. */
int make_one_folder(const std::string &path) {
    if (::mkdir(path.c_str(), kFolderMode) != 0) {
        return errno == EEXIST ? 0 : errno;
    }
    return sync_folder_of(path);
}

}  // namespace

int open_file(const std::string &path, int flags, UniqueFd &fd) {
    UniqueFd opened(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, kFileMode));
    if (!opened) {
        return errno;
    }
    const int error = file_kind_error(opened.get());
    if (error == 0) {
        fd = std::move(opened);
    }
    return error;
}

int make_folder_of(const std::string &path) {
    const std::string folder = folder_of(path);
    if (::access(folder.c_str(), F_OK) == 0) {
        return 0;
    }
    for (size_t slash = folder.find('/', 1); slash != std::string::npos;
         slash = folder.find('/', slash + 1)) {
        const int error = make_one_folder(folder.substr(0, slash));
        if (error != 0) {
            return error;
        }
    }
    return make_one_folder(folder);
}

int sync_folder_of(const std::string &path) {
    return file_io::sync_folder_of(AT_FDCWD, path.c_str()) ? 0 : errno;
}

int sync_folders_above(const std::string &path) {
    int error = 0;
    for (std::string each = folder_of(path); error == 0 && each != "/" && each != ".";
         each = folder_of(each)) {
        error = sync_folder_of(each);
    }
    return error;
}
