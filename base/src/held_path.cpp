#include "held_path.h"

#include <fcntl.h>

#include <climits>
#include <cstring>

#include "support/file_io.h"

namespace {

int open_folder_of(const char *path) {
    char folder[PATH_MAX];
    return file_io::folder_of(path, folder, sizeof(folder)) ? open(folder, O_PATH | O_DIRECTORY | O_CLOEXEC)
                                                            : -1;
}

}  // namespace

HeldPath::HeldPath(const char *path) : path_(path), folder_(open_folder_of(path)) {}

const char *HeldPath::name() const {
    return strrchr(path_, '/') + 1;
}
