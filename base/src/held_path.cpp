#include "held_path.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>

namespace {

int open_folder_of(const char *path) {
    const auto length =
        std::max<ptrdiff_t>(strrchr(path, '/') - path, 1); /* 1: the slash of the root folder */
    char folder[PATH_MAX];
    if (static_cast<size_t>(length) >= sizeof(folder)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(folder, path, static_cast<size_t>(length));
    folder[length] = '\0';
    return open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC);
}

}  // namespace

HeldPath::HeldPath(const char *path) : path_(path), folder_(open_folder_of(path)) {}

const char *HeldPath::name() const {
    return strrchr(path_, '/') + 1;
}
