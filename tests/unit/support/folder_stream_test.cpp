/*
 * Listing the names in a folder.
 */
#include "support/folder_stream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <set>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/open_descriptors.h"
#include "support/temp_folder.h"

namespace {

class FolderStream : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        before_ = open_descriptors();
    }
    void TearDown() override {
        FaultsTest::TearDown();
        EXPECT_EQ(before_, open_descriptors());
    }

    static std::set<std::string> names_in(const std::string &path) {
        const UniqueFolderStream names = open_folder_stream(AT_FDCWD, path.c_str());
        std::set<std::string> all;
        while (const char *name = next_name(names)) {
            all.insert(name);
        }
        return all;
    }
    static void expect_none(int error, const std::string &path) {
        EXPECT_FALSE(open_folder_stream(AT_FDCWD, path.c_str()));
        EXPECT_EQ(error, errno) << path;
    }

    const TempFolder folder_;

  private:
    size_t before_ = 0;
};

}  // namespace

TEST_F(FolderStream, ListsEveryName) {
    folder_.file("first", "");
    folder_.file("second", "");
    EXPECT_EQ((std::set<std::string>{".", "..", "first", "second"}), names_in(folder_.path()));
}

TEST_F(FolderStream, OpensOnlyAFolder) {
    expect_none(ENOTDIR, folder_.file("file", ""));
    expect_none(ENOENT, folder_.path("missing"));
    ASSERT_EQ(0, ::symlink("/tmp", folder_.path("link").c_str()));
    expect_none(ENOTDIR, folder_.path("link"));
}

TEST_F(FolderStream, WithoutAStreamClosesTheDescriptor) {
    doubles::libc::fdopendir.fail(ENOMEM);
    expect_none(ENOMEM, folder_.path());
}

TEST_F(FolderStream, WithoutAStreamThereIsNoName) {
    EXPECT_EQ(nullptr, next_name(UniqueFolderStream()));
}
