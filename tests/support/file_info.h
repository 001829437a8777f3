/*
 * Who owns a file or folder, and who may do what with it. Links are not followed. What is missing has an
 * owner and a mode that no file has.
 */
#pragma once

#include <sys/stat.h>

#include <string>

inline struct stat info_of(const std::string &path) {
    struct stat info = {};
    if (::lstat(path.c_str(), &info) != 0) {
        info.st_mode = ~mode_t{0};
        info.st_uid = ~uid_t{0};
    }
    return info;
}

inline mode_t mode_of(const std::string &path) {
    return info_of(path).st_mode & 07777u;
}

inline uid_t owner_of(const std::string &path) {
    return info_of(path).st_uid;
}
