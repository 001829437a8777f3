/*
 * Queries of files.
 */
#include "os_file.h"

#include <sys/stat.h>

int32_t os_file_exist(const char *path) {
    struct stat found;
    return path != nullptr && stat(path, &found) == 0 ? 1 : 0;
}

uint64_t os_file_size(const char *path) {
    struct stat found;
    if (path == nullptr || stat(path, &found) != 0 || !S_ISREG(found.st_mode)) {
        return 0;
    }
    return static_cast<uint64_t>(found.st_size);
}
