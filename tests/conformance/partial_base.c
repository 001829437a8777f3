/*
 * A base library with two functions.
 */
#include <stddef.h>
#include <unistd.h>

#include "os_file.h"
#include "os_thread.h"

int32_t os_mutex_lock(os_mutex *mutex) {
    return mutex != NULL ? 0 : 1;
}

int32_t os_file_exist(const char *path) {
    return access(path, F_OK) == 0 ? 1 : 0;
}
