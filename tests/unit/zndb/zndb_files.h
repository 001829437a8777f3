/*
 * Files and faults for the tests of the database service.
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "os_log.h"
#include "support/checked_file.h"

/* The content; "" without a file. */
inline std::string content_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/* The lines of a file that the service has saved; see checked_lines. */
inline std::string saved_lines(const std::string &path) {
    return checked_lines(content_of(path));
}

/* Writes a file and the folders that it takes. */
inline void put_file(const std::string &path, const std::string &content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline bool exists(const std::string &path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

inline mode_t mode_of(const std::string &path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

/* The texts logged at the warning level. */
inline std::vector<std::string> warnings(const LogCapture &log) {
    std::vector<std::string> texts;
    for (const LogLine &line : log.system_lines()) {
        if (line.level <= OS_LOG_WARNING) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

/* From now on the disk takes this many bytes more; then write fails as on a full disk. */
inline void limit_disk(size_t room) {
    doubles::libc::write.stand_in([room](int fd, const void *data, size_t size) mutable -> ssize_t {
        const size_t taken = std::min(room, size);
        room -= taken;
        if (taken == 0 && size > 0) {
            errno = ENOSPC;
            return -1;
        }
        return doubles::libc::write.real(fd, data, taken);
    });
}

/* From now on the disk that a folder is on takes nothing more, and the others do. */
inline void fill_disk_of(const std::string &folder) {
    doubles::libc::write.stand_in([folder](int fd, const void *data, size_t size) -> ssize_t {
        const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
        if (path.rfind(folder + "/", 0) == 0) {
            errno = ENOSPC;
            return -1;
        }
        return doubles::libc::write.real(fd, data, size);
    });
}

/* From now on renaming fails. */
inline void fail_rename(int error) {
    doubles::libc::renameat.stand_in([error](int, const char *, int, const char *) {
        errno = error;
        return -1;
    });
}

/* From now on no file can be given a second name, as where the file system has none. */
inline void fail_link(int error) {
    doubles::libc::link.stand_in([error](const char *, const char *) {
        errno = error;
        return -1;
    });
}

/* The files of a folder whose names begin so, with their folder, sorted. */
inline std::vector<std::string> files_beginning(const std::string &start) {
    std::vector<std::string> found;
    std::error_code error;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::filesystem::path(start).parent_path(), error)) {
        if (entry.path().string().compare(0, start.size(), start) == 0) {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

/* From now on no folder can be synced. */
inline void fail_folder_sync() {
    doubles::libc::fsync.stand_in([](int fd) {
        struct stat info = {};
        if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::fsync.real(fd);
    });
}

/* From now on opening a path fails where error_of gives an error for it. */
inline void fail_opens(const std::function<int(const std::string &path)> &error_of) {
    doubles::libc::open.stand_in([error_of](const char *path, int flags, mode_t mode) {
        errno = error_of(path);
        return errno != 0 ? -1 : doubles::libc::open.real(path, flags, mode);
    });
    doubles::libc::openat.stand_in([error_of](int folder, const char *path, int flags, mode_t mode) {
        errno = error_of(path);
        return errno != 0 ? -1 : doubles::libc::openat.real(folder, path, flags, mode);
    });
}

/* From now on opening a path fails. */
inline void fail_open(const std::string &refused, int error) {
    fail_opens([refused, error](const std::string &path) { return path == refused ? error : 0; });
}

/* From now on a file can't be read from this place on. */
inline void fail_read_behind(off_t place) {
    doubles::libc::read.stand_in([place](int fd, void *data, size_t size) -> ssize_t {
        if (::lseek(fd, 0, SEEK_CUR) >= place) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::read.real(fd, data, size);
    });
}

/* Lines of a journal that take more than one read. */
inline std::string some_blocks_of_records() {
    std::string lines;
    for (int i = 0; i < 30; ++i) {
        lines += "P+other=" + std::string(1000, 'o') + "\n";
    }
    return lines;
}

inline void end_faults() {
    doubles::libc::write.restore();
    doubles::libc::read.restore();
    doubles::libc::open.restore();
    doubles::libc::openat.restore();
    doubles::libc::rename.restore();
    doubles::libc::renameat.restore();
    doubles::libc::fsync.restore();
    doubles::libc::mkdir.restore();
    doubles::libc::ftruncate.restore();
    doubles::libc::link.restore();
    doubles::libc::unlink.restore();
    doubles::libc::unlinkat.restore();
    doubles::libc::rmdir.restore();
    doubles::libc::statx.restore();
}

/* A test in which the disk may fail. The log is captured all the while. */
class DiskTest : public testing::Test {
  protected:
    DiskTest() {
        doubles::libc::write.forget_calls();
        doubles::libc::system.forget_calls();
    }
    ~DiskTest() override { end_faults(); }

    LogCapture log_;
};
