/*
 * Checks which folders of a PATH are safe. Checks every component of a folder's path, and of the targets of
 * links in it: whoever can change one of them decides which tools are found.
 */
#include "tool_path.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "os_log.h"

namespace {

constexpr char kDefaultPath[] = "/usr/sbin:/usr/bin:/sbin:/bin";

/* The longest path that is checked, in bytes, including the NUL: small enough for a small thread's stack. */
constexpr size_t kPathSize = 1024;
using Path = char[kPathSize];

/* The maximum number of links in a path, so that a loop ends. */
constexpr int kMostLinks = 8;

enum class Found {
    kUnsafe,
    kFolder,
    kLink
};

/* Whether a file belongs to root or to this process's user. */
bool is_own(const struct stat &found) {
    return found.st_uid == 0 || found.st_uid == geteuid();
}

/* In a sticky folder above the last one, other users can't replace entries that belong to us. */
bool is_kept(const struct stat &folder, bool is_last) {
    const bool others_may_write = (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return !others_may_write || (!is_last && (folder.st_mode & S_ISVTX) != 0);
}

/* PATH may name folders that don't exist, or that the process may not search. */
bool is_missing(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES;
}

/*
 * Links of /proc, such as /proc/self/cwd, name another folder in each process, wherever it is mounted. A link
 * lies in the file system of its folder.
 */
bool is_of_the_reader(const char *link) {
    Path folder;
    (void)snprintf(folder, sizeof(folder), "%.*s/", static_cast<int>(strrchr(link, '/') - link), link);
    struct statfs system;
    return statfs(folder, &system) != 0 || system.f_type == PROC_SUPER_MAGIC;
}

Found look_at(const char *path, bool is_last) {
    struct stat found;
    if (lstat(path, &found) != 0) {
        if (!is_missing(errno)) {
            OS_LOG_ERRNO("look at a folder of PATH error!");
        }
        return Found::kUnsafe;
    }
    if (!is_own(found)) {
        return Found::kUnsafe;
    }
    if (S_ISLNK(found.st_mode)) {
        return is_of_the_reader(path) ? Found::kUnsafe : Found::kLink;
    }
    return S_ISDIR(found.st_mode) && is_kept(found, is_last) ? Found::kFolder : Found::kUnsafe;
}

/* Walks from the root to the first link, or to the end. end: receives the end of the last checked component.
 */
Found walk(Path &path, char **end) {
    *end = path + 1;
    for (;;) {
        const char cut = **end;
        **end = '\0';
        const Found found = look_at(path, cut == '\0');
        **end = cut;
        if (found != Found::kFolder || cut == '\0') {
            return found;
        }
        *end += 1 + strcspn(*end + 1, "/");
    }
}

/* Replaces a link in the path by its target. end: the end of the link's component. */
bool follow(Path &path, char *end) {
    const char cut = *end;
    *end = '\0';
    Path target;
    const ssize_t length = readlink(path, target, sizeof(target));
    const char *name = strrchr(path, '/');
    *end = cut;
    if (length < 0) {
        OS_LOG_ERRNO("read a link of PATH error!");
        return false;
    }
    if (static_cast<size_t>(length) >= sizeof(target)) {
        return false;
    }
    target[length] = '\0';

    Path whole;
    const int folder = target[0] == '/' ? 0 : static_cast<int>(name - path);
    const int size = snprintf(whole, sizeof(whole), "%.*s/%s%s", folder, path, target, end);
    if (static_cast<size_t>(size) >= sizeof(whole)) {
        return false;
    }
    memcpy(path, whole, static_cast<size_t>(size) + 1);
    return true;
}

bool is_safe(const char *folder, size_t length) {
    Path path;
    if (length >= sizeof(path) || folder[0] != '/') {
        return false;
    }
    memcpy(path, folder, length);
    path[length] = '\0';

    for (int links = 0; links <= kMostLinks; ++links) {
        char *end = nullptr;
        const Found found = walk(path, &end);
        if (found != Found::kLink) {
            return found == Found::kFolder;
        }
        if (!follow(path, end)) {
            return false;
        }
    }
    return false;
}

}  // namespace

void write_safe_path(const char *path, char *text) {
    char *end = text;
    const char *next = path != nullptr ? path : "";
    while (*next != '\0') {
        const size_t length = strcspn(next, ":");
        if (is_safe(next, length)) {
            *end = ':';
            end = std::copy_n(next, length, end == text ? end : end + 1);
        }
        next += length + (next[length] == ':' ? 1 : 0);
    }
    *end = '\0';
    if (end == text) {
        memcpy(text, kDefaultPath, sizeof(kDefaultPath));
    }
}

size_t safe_path_size(const char *path) {
    return std::max(sizeof(kDefaultPath), strlen(path != nullptr ? path : "") + 1);
}
