/*
 * The texts of the shell that prepares a command's, and whether one is due.
 */
#include "command_prelude.h"

#include <sys/stat.h>

#include <charconv>
#include <cstring>

#include "file_io.h"
#include "owned_fd.h"

namespace {

constexpr char kStatus[] = "/proc/thread-self/status";
constexpr char kUmask[] = "\nUmask:\t";

/* What others must not do with a new file. */
constexpr unsigned kOthersWrite = S_IWGRP | S_IWOTH;

constexpr char kBecomeTheCommand[] = "umask go-w; exec /bin/sh -c \"$1\" sh";

/* A process that can't tell its umask, as before Linux 4.7, may have any. */
bool lets_others_write() {
    char text[256];
    size_t length = 0;
    const OwnedFd status(file_io::open_for_reading(kStatus));
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
    return lets_others_write() ? kBecomeTheCommand : nullptr;
}
