/*
 * Complete writes, and synced folders.
 */
#include "support/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <utility>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/key_files.h"
#include "support/temp_folder.h"
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
    libc::fsync.fail(EINVAL);
    EXPECT_TRUE(file_io::sync_folder(AT_FDCWD, "/tmp"));
}

TEST_F(FileIo, AFolderThatCantBeSyncedIs) {
    libc::fsync.fail(EIO);
    EXPECT_FALSE(file_io::sync_folder(AT_FDCWD, "/tmp"));
    EXPECT_EQ(EIO, errno);
    EXPECT_FALSE(file_io::sync_folder(AT_FDCWD, "/nowhere"));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(FileIo, TheFolderOfAFileIsItsPathUpToTheLastSlash) {
    char folder[8];
    const std::pair<const char *, const char *> kCases[] = {
        {"name", "."}, {"/name", "/"}, {"/a/name", "/a"}, {"a/b/name", "a/b"}, {"1234567/name", "1234567"}};
    for (const auto &[path, expected] : kCases) {
        EXPECT_TRUE(file_io::folder_of(path, folder, sizeof(folder)));
        EXPECT_STREQ(expected, folder);
    }
    EXPECT_FALSE(file_io::folder_of("12345678/name", folder, sizeof(folder)));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

TEST_F(FileIo, TheFolderOfAFileWithoutRoomForItsPathCanNotBeSynced) {
    EXPECT_TRUE(file_io::sync_folder_of(AT_FDCWD, "/tmp/file"));
    EXPECT_FALSE(file_io::sync_folder_of(AT_FDCWD, (std::string(PATH_MAX, 'x') + "/file").c_str()));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

TEST_F(FileIo, OnlyARegularFileIsOpenedAsOne) {
    const TempFolder folder;
    ASSERT_EQ(0, mkfifo(folder.path("pipe").c_str(), 0600));
    struct stat found = {};
    EXPECT_TRUE(file_io::open_regular(folder.file("file", "text").c_str(), &found));
    EXPECT_EQ(4, found.st_size);
    EXPECT_FALSE(file_io::open_regular(folder.path("pipe").c_str(), &found));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_FALSE(file_io::open_regular(folder.path().c_str(), &found));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_FALSE(file_io::open_regular(folder.path("missing").c_str(), &found));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(FileIo, ALinkInAFolderIsNotOpenedAsAFile) {
    const TempFolder folder;
    const UniqueFd held(open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    (void)folder.file("file", "text");
    ASSERT_EQ(0, symlink("file", folder.path("link").c_str()));
    struct stat found = {};
    EXPECT_TRUE(file_io::open_regular_in(held.get(), "file", &found));
    EXPECT_FALSE(file_io::open_regular_in(held.get(), "link", &found));
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(FileIo, AFolderAndAPipeHaveErrorsOfTheirOwn) {
    struct stat node = {};
    node.st_mode = S_IFREG;
    EXPECT_EQ(0, file_io::kind_error(node));
    node.st_mode = S_IFDIR;
    EXPECT_EQ(EISDIR, file_io::kind_error(node));
    node.st_mode = S_IFIFO;
    EXPECT_EQ(EINVAL, file_io::kind_error(node));
}

class CopiedFiles : public FileIo, public testing::WithParamInterface<size_t> {};

TEST_P(CopiedFiles, HaveEveryByte) {
    const TempFolder folder;
    const std::string text(GetParam(), 'x');
    const UniqueFd from(open(folder.file("from", text).c_str(), O_RDONLY | O_CLOEXEC));
    const UniqueFd to(open(folder.path("to").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(file_io::Copied::kAll, file_io::copy_rest(from.get(), to.get()));
    EXPECT_EQ(text, key_file_bytes(folder.path("to").c_str()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, CopiedFiles, testing::Values(0, 1, 16383, 16384, 16385, 40000));

TEST_F(FileIo, ACopyTellsWhichSideFailed) {
    const TempFolder folder;
    const UniqueFd from(open(folder.file("from", "text").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(file_io::Copied::kCantWrite, file_io::copy_rest(from.get(), -1));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(file_io::Copied::kCantRead, file_io::copy_rest(-1, from.get()));
    EXPECT_EQ(EBADF, errno);
}

}  // namespace
