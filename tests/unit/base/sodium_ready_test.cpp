/*
 * libsodium is used only if the kernel has random bytes.
 */
#include "adapt/sodium_ready.h"

#include <cerrno>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"

namespace {

class SodiumReady : public FaultsTest {};

}  // namespace

TEST_F(SodiumReady, AKernelThatHasRandomBytesInAFileOnlyWillDo) {
    doubles::libc::getrandom.fail(ENOSYS);
    EXPECT_TRUE(sodium_ready());
}

TEST_F(SodiumReady, ASignalWhileRandomBytesAreGatheredIsNoLackOfThem) {
    doubles::libc::getrandom.stand_in([](void *to, size_t size, unsigned flags) -> ssize_t {
        if (doubles::libc::getrandom.calls() < 3) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::getrandom.real(to, size, flags);
    });
    EXPECT_TRUE(sodium_ready());
    EXPECT_EQ(3u, doubles::libc::getrandom.calls());
}
