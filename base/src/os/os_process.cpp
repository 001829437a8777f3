/*
 * Shell commands.
 */
#include "os_process.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

/* The mode with close-on-exec, or null for a mode that a pipe does not have. */
const char *pipe_mode(const char *mode) {
    if (mode == nullptr) {
        return nullptr;
    }
    if (strcmp(mode, "r") == 0) {
        return "re";
    }
    return strcmp(mode, "w") == 0 ? "we" : nullptr;
}

}  // namespace

int32_t os_system(const char *command) {
    if (command == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return system(command);
}

FILE *os_popen(const char *command, const char *mode) {
    const char *checked_mode = pipe_mode(mode);
    if (command == nullptr || checked_mode == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    return popen(command, checked_mode);
}

int32_t os_pclose(FILE *stream) {
    if (stream == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return pclose(stream);
}
