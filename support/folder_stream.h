/*
 * Listing the names in a folder.
 */
#pragma once

#include <dirent.h>
#include <fcntl.h>

#include "support/unique_fd.h"

struct FolderStreamTraits {
    using Handle = DIR *;
    static constexpr Handle kNone = nullptr;
    static void release(Handle folder) { (void)::closedir(folder); }
};

using UniqueFolderStream = Owned<FolderStreamTraits>;

/* Opens a folder for listing. Owns nothing, with errno set, on failure; ENOTDIR for a
 * symbolic link. */
inline UniqueFolderStream open_folder_stream(int in, const char *name) {
    UniqueFd fd(::openat(in, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    UniqueFolderStream names(fd ? ::fdopendir(fd.get()) : nullptr);
    if (names) {
        (void)fd.take();
    }
    return names;
}

/* The next name, valid until the next call; null at the end and without a stream. */
inline const char *next_name(const UniqueFolderStream &names) {
    // cppcheck-suppress readdirCalled ; a stream of one thread, and readdir_r is withdrawn
    const dirent *entry = names ? ::readdir(names.get()) : nullptr;
    return entry != nullptr ? entry->d_name : nullptr;
}
