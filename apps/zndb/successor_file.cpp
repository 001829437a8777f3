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

}  // namespace

bool remove_leftover(const std::string &path) {
    return ::unlink((path + paths::kTemporarySuffix).c_str()) == 0;
}

SuccessorFile::SuccessorFile(const std::string &path)
    : path_(path), file_(AT_FDCWD, path_.c_str()), error_(make_folder_of(path_)) {
    if (error_ == 0 && !file_.create_beside(paths::kTemporarySuffix, O_RDWR | O_APPEND)) {
        error_ = errno;
    }
}

int SuccessorFile::obstacle() const {
    struct stat info = {};
    const bool is_folder = ::stat(path_.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    return error_ == 0 && is_folder ? EISDIR : error_;
}

void SuccessorFile::flush() {
    if (error_ == 0 && !file_io::write_all(file_.fd(), buffer_.data(), buffer_.size())) {
        error_ = errno;
    }
    buffer_.clear();
}

void SuccessorFile::add(std::string_view text) {
    buffer_.append(text);
    size_ += text.size();
    if (buffer_.size() >= kBufferSize) {
        flush();
    }
}

int SuccessorFile::put_in_place(AtomicFile::Sync sync) {
    flush();
    if (error_ != 0) {
        return error_;
    }
    placed_ = file_.replace_target(sync);
    return placed_ == AtomicFile::Placed::kYes ? 0 : errno;
}
