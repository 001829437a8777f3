/*
 * libsodium, made ready on its first use. For the adapters of that library only.
 */
#pragma once

#include <sodium.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

/* Whether the kernel gives random bytes, for which it may wait; false leaves the cause in errno. */
inline bool has_random_bytes() {
    unsigned char byte = 0;
    ssize_t count = 0;
    do {
        count = getrandom(&byte, sizeof(byte), 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && errno == ENOSYS) {
        return access("/dev/urandom", R_OK) == 0; /* what libsodium reads on a kernel without the call */
    }
    return count == 1;
}

/*
 * Returns false when the library can't be used, with the cause in errno. It would end the process where the
 * kernel has no random bytes, so the kernel is asked first. Any thread; the library's own lock lets one go
 * first.
 */
inline bool sodium_ready() {
    return has_random_bytes() && sodium_init() >= 0;
}
