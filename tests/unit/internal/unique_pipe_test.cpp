/*
 * The owner of a stream of os_popen.
 */
#include "internal/unique_pipe.h"

#include <fcntl.h>
#include <gtest/gtest.h>

TEST(UniquePipe, WaitsForItsCommand) {
    std::FILE *stream = os_popen("exec cat >/dev/null", "w");
    ASSERT_NE(stream, nullptr);
    const int fd = fileno(stream);
    { const UniquePipe owner(stream); }
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}
