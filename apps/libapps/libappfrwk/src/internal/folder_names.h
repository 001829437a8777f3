/*
 * The names in a folder, one after another.
 */
#pragma once

#include <dirent.h>
#include <fcntl.h>

#include <memory>

#include "support/unique_fd.h"

struct CloseFolderStream {
    void operator()(DIR *folder) const { (void)::closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, CloseFolderStream>;

/* Opens a folder in another one, or by its path; a link is not followed. Null when it can't be read. */
inline FolderStream read_folder(int folder, const char *name) {
    UniqueFd fd(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    FolderStream stream(fd ? ::fdopendir(fd.get()) : nullptr);
    if (stream) {
        (void)fd.take();
    }
    return stream;
}

/* The next name of a folder; null at its end, and where there is no folder. */
inline const char *next_name(const FolderStream &folder) {
    // cppcheck-suppress readdirCalled ; a stream of one thread, and readdir_r is withdrawn
    const dirent *entry = folder ? ::readdir(folder.get()) : nullptr;
    return entry != nullptr ? entry->d_name : nullptr;
}
