/*
 * Paths whose folder is held open.
 */
#include "held_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>

#include "support/temp_folder.h"

namespace {

TEST(HeldPath, HasAFolderAndAName) {
    const TempFolder folder;
    const std::string path = folder.file("name", "text");
    const HeldPath held(path.c_str());
    ASSERT_TRUE(held);
    EXPECT_STREQ("name", held.name());
    EXPECT_STREQ(path.c_str(), held.path());
    EXPECT_EQ(0, faccessat(held.folder(), held.name(), F_OK, 0));
    EXPECT_EQ(FD_CLOEXEC, fcntl(held.folder(), F_GETFD));
}

TEST(HeldPath, MayBeInTheRoot) {
    const HeldPath held("/tmp");
    ASSERT_TRUE(held);
    EXPECT_EQ(0, faccessat(held.folder(), held.name(), F_OK, 0));
}

TEST(HeldPath, KeepsItsFolderWhereverItIsMoved) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path("inner"));
    const std::string path = folder.file("inner/name", "text");
    const HeldPath held(path.c_str());
    std::filesystem::rename(folder.path("inner"), folder.path("moved"));
    EXPECT_EQ(0, faccessat(held.folder(), "name", F_OK, 0));
}

TEST(HeldPath, NeedsAFolder) {
    const TempFolder folder;
    errno = 0;
    EXPECT_FALSE(HeldPath(folder.path("missing/name").c_str()));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(HeldPath((folder.file("file", "text") + "/name").c_str()));
    EXPECT_EQ(ENOTDIR, errno);
}

TEST(HeldPath, NeedsAFolderWhosePathIsNotTooLong) {
    for (const size_t length : {size_t{PATH_MAX} - 2, size_t{PATH_MAX} - 1, size_t{PATH_MAX}}) {
        errno = 0;
        EXPECT_FALSE(HeldPath(("/" + std::string(length, 'x') + "/name").c_str()));
        EXPECT_EQ(ENAMETOOLONG, errno);
    }
}

}  // namespace
