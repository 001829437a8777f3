#include "support/folder_list.h"

#include <fcntl.h>

// cppcheck-suppress uninitMemberVar ; the block is filled before it is read, as used_ and filled_ say
FolderList::FolderList(const char *path) : fd_(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

const char *FolderList::next() {
    if (used_ == filled_) {
        const ssize_t taken = ::getdents64(fd_.get(), block_, sizeof(block_));
        used_ = 0;
        filled_ = taken > 0 ? static_cast<size_t>(taken) : 0;
    }
    if (used_ == filled_) {
        return nullptr;
    }
    const auto *entry = reinterpret_cast<const dirent64 *>(block_ + used_);
    used_ += entry->d_reclen;
    return entry->d_name;
}
