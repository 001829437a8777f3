/*
 * The commands that are run before a command's shell, and the check whether they are needed.
 */
#include "command_prelude.h"

#include <sys/stat.h>

#include <charconv>
#include <cstring>

#include "command_scope.h"
#include "os_process.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace {

constexpr char kStatus[] = "/proc/thread-self/status";
constexpr char kUmask[] = "\nUmask:\t";

/* The permissions that group and others must not have on a new file. */
constexpr unsigned kOthersWrite = S_IWGRP | S_IWOTH;

/* The shell counts in blocks of 512 bytes. If a lower limit is already set, that one stays. */
#define FILE_LIMIT "ulimit -f 32768 2>/dev/null; "
static_assert(OS_COMMAND_FILE_MAX == 32768 * 512);

#define BECOME_THE_COMMAND "umask go-w; exec /bin/sh -c \"$1\" sh"

/* An unknown umask, as before Linux 4.7, counts as an open one. */
bool lets_others_write() {
    char text[256];
    size_t length = 0;
    const UniqueFd status(file_io::open_for_reading(kStatus));
    if (!status || !file_io::read_up_to(status.get(), text, sizeof(text) - 1, &length)) {
        return true;
    }
    text[length] = '\0';
    const char *mask = strstr(text, kUmask);
    unsigned bits = 0;
    if (mask != nullptr) {
        (void)std::from_chars(mask + sizeof(kUmask) - 1, text + length, bits, 8);
    }
    return (bits & kOthersWrite) != kOthersWrite;
}

}  // namespace

const char *command_prelude() {
    if (in_command_scope()) {
        return FILE_LIMIT BECOME_THE_COMMAND;
    }
    return lets_others_write() ? BECOME_THE_COMMAND : nullptr;
}
