#include "device/held_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

HeldFile::HeldFile(const std::string &path) {
    error_ = find_place(path.c_str(), LastLink::kKeep, &place_) ? 0 : errno;
}

int HeldFile::open(int flags, mode_t mode, const std::string &suffix) const {
    if (error_ != 0) {
        errno = error_;
        return -1;
    }
    const std::string name = place_.name + suffix;
    return ::openat(place_.folder.get(), name.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, mode);
}

bool HeldFile::replace_by(const std::string &suffix) const {
    const int folder = place_.folder.get();
    return ::renameat(folder, (place_.name + suffix).c_str(), folder, place_.name) == 0;
}

void HeldFile::remove(const std::string &suffix) const {
    (void)::unlinkat(place_.folder.get(), (place_.name + suffix).c_str(), 0);
}
