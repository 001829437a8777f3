/*
 * Files and commands: the system's own calls. A command inherits the signals that the module ignores or
 * blocks.
 */
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "os_file.h"
#include "os_process.h"

int32_t os_file_exist(const char *path) {
    return access(path, F_OK) == 0;
}

uint64_t os_file_size(const char *path) {
    struct stat found;
    return stat(path, &found) == 0 ? (uint64_t)found.st_size : 0;
}

int32_t os_system(const char *command) {
    return system(command);
}

FILE *os_popen(const char *command, const char *mode) {
    return popen(command, mode);
}

int32_t os_pclose(FILE *stream) {
    return pclose(stream);
}
