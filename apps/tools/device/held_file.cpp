#include "device/held_file.h"

#include <fcntl.h>

#include <cerrno>

HeldFile::HeldFile(const std::string &path) {
    error_ = find_place(path.c_str(), LastLink::kKeep, &place_) ? 0 : errno;
}

int HeldFile::open(int flags) const {
    if (error_ != 0) {
        errno = error_;
        return -1;
    }
    return ::openat(place_.folder.get(), place_.name, flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY);
}
