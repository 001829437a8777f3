#include "device/held_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

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

    static void make(const HeldFile &file, const std::string &suffix) {
        const int fd = file.open(O_WRONLY | O_CREAT | O_EXCL, 0600, suffix);
        EXPECT_LE(0, fd);
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(fd, F_GETFD));
        ::close(fd);
    }
};

TEST_F(HeldFileTest, IsOpenedReplacedAndRemovedInItsFolder) {
    const HeldFile file(kPath);
    make(file, ".new");
    EXPECT_TRUE(file.replace_by(".new"));
    EXPECT_TRUE(std::filesystem::exists(kPath));
    make(file, ".new");
    file.remove(".new");
    EXPECT_FALSE(std::filesystem::exists(kPath + ".new"));
}

TEST_F(HeldFileTest, StaysInItsFolderWhereverThatIsMoved) {
    const HeldFile file(kPath);
    make(file, ".new");
    std::filesystem::rename(kFolder, kFolder + ".moved");
    std::filesystem::create_directory(kFolder);
    EXPECT_TRUE(file.replace_by(".new"));
    EXPECT_TRUE(std::filesystem::exists(kFolder + ".moved/name"));
    EXPECT_TRUE(std::filesystem::is_empty(kFolder));
}

TEST_F(HeldFileTest, MayBeInTheWorkingFolder) {
    std::filesystem::current_path(kFolder);
    make(HeldFile("name"), "");
    EXPECT_TRUE(std::filesystem::exists(kPath));
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
    make(HeldFile(kFolder + "/link/name"), "");
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 0777));
    EXPECT_EQ(-1, HeldFile(kFolder + "/link/name").open(O_RDONLY));
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(HeldFileTest, WithoutAFolderIsNone) {
    const HeldFile file("/no/folder/name");
    EXPECT_EQ(-1, file.open(O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(file.replace_by(".new"));
    file.remove(".new");
}

}  // namespace
