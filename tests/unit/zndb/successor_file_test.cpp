/*
 * Whether a file can be replaced, found out without touching it.
 */
#include "successor_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "file_steps.h"
#include "store_file.h"
#include "support/other_user.h"
#include "unit/zndb/zndb_files.h"

namespace {

const std::string kFolder = "/m_data/usr/db";
const std::string kPath = kFolder + "/user_data.txt";
const std::string kContent = "k=v\n";

class Replacement : public DiskTest {
  protected:
    void SetUp() override {
        std::filesystem::remove_all(kFolder);
        std::filesystem::create_directories(kFolder);
    }

    ~Replacement() override { std::filesystem::remove_all(kFolder); }
};

TEST_F(Replacement, OfAFileIsPossibleAndLeavesItAlone) {
    put_file(kPath, kContent);
    EXPECT_EQ(0, replacement_obstacle(kPath));
    EXPECT_EQ(kContent, content_of(kPath));
}

TEST_F(Replacement, OfAMissingFileIsPossible) {
    EXPECT_EQ(0, replacement_obstacle(kPath));
    EXPECT_EQ(0, replacement_obstacle("/m_data/missing/file"));
}

TEST_F(Replacement, OfALinkIsPossibleAndLeavesIt) {
    put_file(kFolder + "/other", kContent);
    std::filesystem::create_symlink(kFolder + "/other", kPath);
    EXPECT_EQ(0, replacement_obstacle(kPath));
    EXPECT_TRUE(std::filesystem::is_symlink(kPath));
}

TEST_F(Replacement, OfAFolderIsImpossibleAndLeavesIt) {
    std::filesystem::create_directory(kPath);
    EXPECT_EQ(EISDIR, replacement_obstacle(kPath));
    EXPECT_TRUE(std::filesystem::is_directory(kPath));
}

/* As in an append-only folder, where only root can give that attribute. */
TEST_F(Replacement, OfAFileWhoseNameMayNotBeRemovedIsImpossible) {
    put_file(kPath, kContent);
    doubles::libc::rmdir.stand_in([](const char *) {
        errno = EPERM;
        return -1;
    });
    EXPECT_EQ(EPERM, replacement_obstacle(kPath));
    doubles::libc::rmdir.restore();
}

TEST_F(Replacement, ThatCantBeRehearsedLeavesNothing) {
    put_file(kPath, kContent);
    doubles::libc::rmdir.stand_in([](const char *) {
        errno = EPERM;
        return -1;
    });
    EXPECT_EQ(EPERM, rehearse_emptying(kPath, "", Folders::kOnDisk, OldFile::kIsKept));
    doubles::libc::rmdir.restore();
    EXPECT_EQ(std::vector<std::string>{kPath}, files_beginning(kPath));
}

using ReplacementByAnotherUser = ByAnotherUser<Replacement>;

TEST_F(ReplacementByAnotherUser, InAStickyFolderIsImpossible) {
    put_file(kPath, kContent);
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 01777));
    EXPECT_EQ(EPERM, as_other_user([] {
                  return rehearse_emptying(kPath, "", Folders::kOnDisk, OldFile::kBecomesPrevious);
              }));
    EXPECT_EQ(kContent, content_of(kPath));
    ASSERT_EQ(0, ::chown(kPath.c_str(), kOtherUser, kOtherUser));
    EXPECT_EQ(0, as_other_user([] {
                  return rehearse_emptying(kPath, "", Folders::kOnDisk, OldFile::kBecomesPrevious);
              }));
    EXPECT_EQ(std::vector<std::string>{kPath}, files_beginning(kPath));
}

}  // namespace
