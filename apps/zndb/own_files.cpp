#include "own_files.h"

#include <sys/stat.h>

#include <cerrno>

OwnFiles::OwnFiles(const std::vector<std::string> &paths) {
    for (const std::string &path : paths) {
        struct stat info = {};
        if (::stat(path.c_str(), &info) == 0) {
            files_.push_back({path, info.st_dev, info.st_ino});
        }
    }
}

/* A file that temporarily can't be checked does not count as lost. */
bool OwnFiles::is_lost(const File &file) {
    struct stat info = {};
    if (::stat(file.path.c_str(), &info) != 0) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    return info.st_dev != file.device || info.st_ino != file.number;
}

const char *OwnFiles::lost() const {
    for (const File &file : files_) {
        if (is_lost(file)) {
            return file.path.c_str();
        }
    }
    return nullptr;
}
