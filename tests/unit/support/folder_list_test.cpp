#include "support/folder_list.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/files.h"

namespace {

constexpr char kFolder[] = "/m_data/usr/listed";

class FolderListTest : public testing::Test {
  protected:
    FolderListTest() { std::filesystem::create_directories(kFolder); }
    ~FolderListTest() override {
        doubles::restore_all();
        std::filesystem::remove_all(kFolder);
    }

    /* The names, without those of the folder itself and of the one above. */
    static std::set<std::string> names_of(const char *path) {
        std::set<std::string> names;
        FolderList list(path);
        while (const char *name = list.next()) {
            names.insert(name);
        }
        names.erase(".");
        names.erase("..");
        return names;
    }
};

}  // namespace

TEST_F(FolderListTest, HasEachNameOfManyBlocks) {
    std::set<std::string> names;
    for (int i = 0; i < 300; ++i) {
        const std::string name = "a_name_of_some_length_" + std::to_string(i);
        std::filesystem::create_directory(std::string(kFolder) + "/" + name);
        names.insert(name);
    }
    EXPECT_EQ(names, names_of(kFolder));
}

TEST_F(FolderListTest, AllocatesNoMemory) {
    std::filesystem::create_directory(std::string(kFolder) + "/name");
    doubles::libc::malloc.forget_calls();
    FolderList list(kFolder);
    while (list.next() != nullptr) {
    }
    EXPECT_EQ(0u, doubles::libc::malloc.calls());
}

TEST_F(FolderListTest, OfAMissingFolderThereIsNoName) {
    FolderList list("/m_data/usr/missing");
    EXPECT_FALSE(list);
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(nullptr, list.next());
}

TEST_F(FolderListTest, TheEndLeavesErrnoAndAReadErrorSetsIt) {
    FolderList list(kFolder);
    errno = 0;
    while (list.next() != nullptr) {
    }
    EXPECT_EQ(0, errno);

    FolderList broken(kFolder);
    doubles::libc::getdents64.fail(EIO);
    EXPECT_EQ(nullptr, broken.next());
    EXPECT_EQ(EIO, errno);
}
