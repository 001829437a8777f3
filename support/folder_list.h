/*
 * Lists the names in a folder without allocating memory: a forked child of a process with threads may use it,
 * where not every allocator works.
 */
#pragma once

#include <dirent.h>

#include <cstddef>

#include "support/unique_fd.h"

class FolderList {
  public:
    /* Opens the folder. errno is set on failure. */
    explicit FolderList(const char *path);

    explicit operator bool() const { return static_cast<bool>(fd_); }

    /* The descriptor of the open folder. */
    int fd() const { return fd_.get(); }

    /*
     * The next name, valid until the next call. Null at the end, and after a read error, which sets errno.
     * The end leaves errno unchanged.
     */
    const char *next();

  private:
    static constexpr size_t kBlockSize = 2048;

    UniqueFd fd_;
    size_t used_ = 0;
    size_t filled_ = 0;
    alignas(dirent64) char block_[kBlockSize];
};
