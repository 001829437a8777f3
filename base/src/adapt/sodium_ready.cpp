#include "sodium_ready.h"
#include "support/held_over_forks.h"

#include <sodium.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "support/uncancelled.h"
#include "support/uninterrupted.h"

namespace {

/* Checks that the kernel provides random bytes; may wait for entropy. Sets errno on failure. */
bool has_random_bytes() {
    unsigned char byte = 0;
    const ssize_t count = uninterrupted([&byte] { return getrandom(&byte, sizeof(byte), 0); });
    if (count < 0 && errno == ENOSYS) {
        return access("/dev/urandom", R_OK) == 0; /* libsodium's fallback on a kernel without getrandom */
    }
    return count == 1;
}

/* Taken before libsodium's own lock, and held during a fork, so that libsodium's lock is free in the child.
 */
struct SodiumState {
    std::mutex mutex;
};

SodiumState g_sodium;

__attribute__((constructor)) void hold_sodium_over_forks() {
    hold_over_forks<g_sodium>();
}

}  // namespace

bool sodium_ready() {
    if (!has_random_bytes()) {
        return false;
    }
    const Uncancelled uncancelled;
    const std::lock_guard<std::mutex> lock(g_sodium.mutex);
    return sodium_init() >= 0;
}
