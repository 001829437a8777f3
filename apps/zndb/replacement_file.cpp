#include "replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "formats/device_paths.h"
#include "support/file_io.h"

namespace {

constexpr size_t kBufferSize = 16384;

std::string temporary_of(const std::string &path) {
    return path + paths::kTemporarySuffix;
}

}  // namespace

bool remove_leftover(const std::string &path) {
    return ::unlink(temporary_of(path).c_str()) == 0;
}

ReplacementFile::ReplacementFile(const std::string &path) : path_(path), temporary_(temporary_of(path)) {
    error_ = make_folder_of(path_);
    if (error_ == 0) {
        (void)remove_leftover(path_);
        error_ = open_file(temporary_, O_RDWR | O_APPEND | O_CREAT | O_EXCL, fd_);
    }
}

ReplacementFile::~ReplacementFile() {
    if (!in_place_) {
        (void)::unlink(temporary_.c_str());
    }
}

int ReplacementFile::obstacle() const {
    struct stat info = {};
    const bool is_folder = ::stat(path_.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    return error_ == 0 && is_folder ? EISDIR : error_;
}

void ReplacementFile::flush() {
    if (error_ == 0 && !file_io::write_all(fd_.get(), buffer_.data(), buffer_.size())) {
        error_ = errno;
    }
    buffer_.clear();
}

void ReplacementFile::add(std::string_view text) {
    buffer_.append(text);
    size_ += text.size();
    if (buffer_.size() >= kBufferSize) {
        flush();
    }
}

int ReplacementFile::put_in_place(Outlives outlives) {
    flush();
    if (error_ != 0) {
        return error_;
    }
    if (outlives == Outlives::kPowerCut && ::fsync(fd_.get()) != 0) {
        return errno;
    }
    if (::rename(temporary_.c_str(), path_.c_str()) != 0) {
        return errno;
    }
    in_place_ = true;
    return outlives == Outlives::kPowerCut ? sync_folder_of(path_) : 0;
}
