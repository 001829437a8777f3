#include "successor_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "file_steps.h"
#include "formats/device_paths.h"
#include "support/file_io.h"

namespace {

constexpr size_t kBufferSize = 16384;

/*
 * The errno value with which removing the name of a file would fail; 0 for none. The kernel checks the rights
 * to the name, those of a sticky or an append-only folder included, before it refuses to remove a file like a
 * folder.
 */
int removal_obstacle(const std::string &path) {
    if (::rmdir(path.c_str()) == 0 || errno == ENOTDIR || errno == ENOENT) {
        return 0;
    }
    return errno;
}

}  // namespace

int replacement_obstacle(const std::string &path) {
    struct statx found = {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE, &found) != 0) {
        return 0; /* the file is missing, or the kernel does not know */
    }
    if (S_ISDIR(found.stx_mode)) {
        return EISDIR;
    }
    if ((found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
        return EBUSY;
    }
    if ((found.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0) {
        return EPERM;
    }
    return removal_obstacle(path);
}

bool remove_leftover(const std::string &path) {
    return ::unlink((path + paths::kTemporarySuffix).c_str()) == 0;
}

SuccessorFile::SuccessorFile(const std::string &path)
    : path_(path), file_(AT_FDCWD, path_.c_str()), error_(make_folder_of(path_)) {
    if (error_ == 0 && !file_.create_beside(paths::kTemporarySuffix, O_RDWR | O_APPEND)) {
        error_ = errno;
    }
}

void SuccessorFile::flush() {
    if (error_ == 0 && !file_io::write_all(file_.fd(), buffer_.data(), buffer_.size())) {
        error_ = errno;
    }
    buffer_.clear();
}

void SuccessorFile::add(std::string_view text) {
    size_ += text.size();
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kBufferSize);
        buffer_.append(piece);
        text.remove_prefix(piece.size());
        if (buffer_.size() >= kBufferSize) {
            flush();
        }
    }
}

int SuccessorFile::sync() {
    flush();
    if (error_ == 0 && ::fsync(file_.fd()) != 0) {
        error_ = errno;
    }
    return error_;
}

int SuccessorFile::discard() {
    if (sync() == 0 && (!file_.discard() || !file_.sync_folder())) {
        error_ = errno;
    }
    return error_;
}

int SuccessorFile::put_in_place(AtomicFile::Sync sync) {
    flush();
    if (error_ != 0) {
        return error_;
    }
    placed_ = file_.replace_target(sync);
    return placed_ == AtomicFile::Placed::kYes ? 0 : errno;
}
