#include "device/held_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "support/unique_fd.h"
#include "support/wait_until.h"

namespace {

const std::string kFolder = "/tmp/held_file";
const std::string kPath = kFolder + "/name";

class HeldFileTest : public testing::Test {
  protected:
    HeldFileTest() {
        std::filesystem::remove_all(kFolder);
        std::filesystem::create_directory(kFolder);
    }
    ~HeldFileTest() override {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove_all(kFolder + ".moved");
    }
};

TEST_F(HeldFileTest, StaysInItsFolderWhereverThatIsMoved) {
    ASSERT_TRUE(write_text(kPath, "text"));
    const HeldFile file(kPath);
    std::filesystem::rename(kFolder, kFolder + ".moved");
    std::filesystem::create_directory(kFolder);
    const UniqueFd fd(file.open(O_RDONLY));
    EXPECT_TRUE(fd);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(fd.get(), F_GETFD));
    EXPECT_EQ(0, ::faccessat(file.folder(), file.name(), F_OK, 0));
}

TEST_F(HeldFileTest, MayBeInTheWorkingFolder) {
    ASSERT_TRUE(write_text(kPath, "text"));
    std::filesystem::current_path(kFolder);
    EXPECT_TRUE(UniqueFd(HeldFile("name").open(O_RDONLY)));
}

TEST_F(HeldFileTest, FollowsNoLink) {
    ASSERT_TRUE(write_text(kFolder + "/other", "text"));
    std::filesystem::create_symlink("other", kPath);
    EXPECT_EQ(-1, HeldFile(kPath).open(O_RDONLY));
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(HeldFileTest, IsBehindNoLinkOfAnother) {
    std::filesystem::create_directory(kFolder + "/inner");
    std::filesystem::create_symlink("inner", kFolder + "/link");
    ASSERT_TRUE(write_text(kFolder + "/inner/name", "text"));
    EXPECT_TRUE(UniqueFd(HeldFile(kFolder + "/link/name").open(O_RDONLY)));
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 0777));
    EXPECT_EQ(-1, HeldFile(kFolder + "/link/name").open(O_RDONLY));
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(HeldFileTest, WithoutAFolderIsNone) {
    const HeldFile file("/no/folder/name");
    EXPECT_EQ(-1, file.open(O_RDONLY));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(ENOENT, file.error());
    EXPECT_EQ(-1, file.folder());
}

}  // namespace
