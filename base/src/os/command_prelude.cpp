/*
 * The texts of the shell that prepares a command's, and whether one is due.
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

/* What others must not do with a new file. */
constexpr unsigned kOthersWrite = S_IWGRP | S_IWOTH;

/* In blocks of 512 bytes, as the shell counts. Who may not have that many keeps the limit that there is. */
#define FILE_LIMIT "ulimit -f 32768 2>/dev/null; "
static_assert(OS_COMMAND_FILE_MAX == 32768 * 512);

#define BECOME_THE_COMMAND "umask go-w; exec /bin/sh -c \"$1\" sh"

/* A process that can't tell its umask, as before Linux 4.7, may have any. */
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
