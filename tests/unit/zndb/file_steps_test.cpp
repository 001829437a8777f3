/*
 * The single steps of writing a file durably.
 */
#include "file_steps.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

const std::string kFolder = "/m_data/usr/steps";

class FileSteps : public testing::Test {
  protected:
    FileSteps() { fs::remove_all(kFolder); }
};

TEST_F(FileSteps, TheFoldersAboveAFileAreMade) {
    EXPECT_EQ(0, make_folder_of(kFolder + "/a/b/file"));
    EXPECT_TRUE(fs::is_directory(kFolder + "/a/b"));
    EXPECT_FALSE(fs::exists(kFolder + "/a/b/file"));
}

TEST_F(FileSteps, ANewFolderIsReadableForAllAndWritableForItsOwner) {
    const mode_t before = ::umask(0);
    EXPECT_EQ(0, make_folder_of(kFolder + "/file"));
    ::umask(before);
    struct stat info = {};
    ASSERT_EQ(0, ::stat(kFolder.c_str(), &info));
    EXPECT_EQ(0755u, info.st_mode & 07777u);
}

TEST_F(FileSteps, TheFolderOfAPlainNameAndTheRootAreThere) {
    EXPECT_EQ(0, make_folder_of("file"));
    EXPECT_EQ(0, make_folder_of("/file"));
    EXPECT_EQ(0, sync_folder_of("file"));
}

TEST_F(FileSteps, AFolderBelowAFileCanNotBeMade) {
    ASSERT_EQ(0, make_folder_of(kFolder + "/x"));
    ASSERT_TRUE(write_text(kFolder + "/file", "x"));
    EXPECT_EQ(ENOTDIR, make_folder_of(kFolder + "/file/a/b"));
}

TEST_F(FileSteps, ANewFolderWhoseNameCanNotBeSyncedIsAnError) {
    doubles::libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(EIO, make_folder_of(kFolder + "/a/file"));
    doubles::libc::fsync.restore();
}

TEST_F(FileSteps, TheFoldersAboveAPlainNameAndTheRootNeedNoSync) {
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, sync_folders_above("file"));
    EXPECT_EQ(0, sync_folders_above("/file"));
    EXPECT_EQ(0u, doubles::libc::fsync.calls());
    EXPECT_EQ(ENOENT, sync_folders_above(kFolder + "/none/file"));
}

TEST_F(FileSteps, AFolderThatIsNotThereCanNotBeSynced) {
    EXPECT_EQ(ENOENT, sync_folder_of(kFolder + "/file"));
}

TEST_F(FileSteps, OnlyARegularFileIsOpened) {
    ASSERT_EQ(0, make_folder_of(kFolder + "/x"));
    ASSERT_EQ(0, ::mkfifo((kFolder + "/pipe").c_str(), 0600));
    ASSERT_TRUE(write_text(kFolder + "/file", "x"));
    UniqueFd fd;
    EXPECT_EQ(EISDIR, open_file(kFolder, O_RDONLY, fd));
    EXPECT_EQ(EINVAL, open_file(kFolder + "/pipe", O_RDONLY, fd));
    EXPECT_EQ(ENOENT, open_file(kFolder + "/none", O_RDONLY, fd));
    EXPECT_FALSE(fd);
    EXPECT_EQ(0, open_file(kFolder + "/file", O_RDONLY, fd));
    EXPECT_TRUE(fd);
}

TEST_F(FileSteps, AFileWhoseKindIsNotToldIsNotOpened) {
    ASSERT_EQ(0, make_folder_of(kFolder + "/file"));
    ASSERT_TRUE(write_text(kFolder + "/file", "x"));
    doubles::libc::fstat.stand_in([](int, struct stat *) {
        errno = EIO;
        return -1;
    });
    UniqueFd fd;
    EXPECT_EQ(EIO, open_file(kFolder + "/file", O_RDONLY, fd));
    EXPECT_FALSE(fd);
    doubles::restore_all();
}

}  // namespace
