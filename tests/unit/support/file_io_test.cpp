/*
 * Complete writes, and synced folders.
 */
#include "support/file_io.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/unique_fd.h"

namespace libc = doubles::libc;

namespace {

using FileIo = FaultsTest;

TEST_F(FileIo, WritesAllBytesPieceByPiece) {
    std::string written;
    libc::write.stand_in([&](int, const void *bytes, size_t size) -> ssize_t {
        const size_t count = size < 2 ? size : 2;
        written.append(static_cast<const char *>(bytes), count);
        return static_cast<ssize_t>(count);
    });
    EXPECT_TRUE(file_io::write_all(1, "abcde", 5));
    EXPECT_EQ("abcde", written);
}

TEST_F(FileIo, WritesOnAfterASignal) {
    int calls = 0;
    libc::write.stand_in([&](int, const void *, size_t size) -> ssize_t {
        errno = EINTR;
        return ++calls == 1 ? -1 : static_cast<ssize_t>(size);
    });
    EXPECT_TRUE(file_io::write_all(1, "abc", 3));
    EXPECT_EQ(2, calls);
}

TEST_F(FileIo, LeavesTheErrorOfAWriteThatFails) {
    EXPECT_FALSE(file_io::write_all(-1, "abc", 3));
    EXPECT_EQ(EBADF, errno);
}

TEST_F(FileIo, TakesAWriteOfNothingForAFullDisk) {
    libc::write.stand_in([](int, const void *, size_t) -> ssize_t { return 0; });
    EXPECT_FALSE(file_io::write_all(1, "abc", 3));
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(FileIo, AFileSystemThatKeepsNamesByItselfIsNoFailure) {
    libc::fsync.stand_in([](int) {
        errno = EINVAL;
        return -1;
    });
    EXPECT_TRUE(file_io::sync_folder(AT_FDCWD, "/tmp"));
}

TEST_F(FileIo, AFolderThatCantBeSyncedIs) {
    libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    EXPECT_FALSE(file_io::sync_folder(AT_FDCWD, "/tmp"));
    EXPECT_EQ(EIO, errno);
    EXPECT_FALSE(file_io::sync_folder(AT_FDCWD, "/nowhere"));
    EXPECT_EQ(ENOENT, errno);
}

}  // namespace
