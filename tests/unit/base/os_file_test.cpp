#include "os_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include "support/temp_folder.h"

TEST(OsFile, SeesAFileAFolderAndANamedPipe) {
    const TempFolder folder;
    ASSERT_EQ(0, mkfifo(folder.path("pipe").c_str(), 0600));
    EXPECT_EQ(1, os_file_exist(folder.file("file", "").c_str()));
    EXPECT_EQ(1, os_file_exist(folder.path().c_str()));
    EXPECT_EQ(1, os_file_exist(folder.path("pipe").c_str()));
}

TEST(OsFile, DoesNotSeeWhatIsMissing) {
    const TempFolder folder;
    ASSERT_EQ(0, symlink("nowhere", folder.path("dangling").c_str()));
    EXPECT_EQ(0, os_file_exist(folder.path("missing").c_str()));
    EXPECT_EQ(0, os_file_exist(folder.path("dangling").c_str()));
    EXPECT_EQ(0, os_file_exist(""));
    EXPECT_EQ(0, os_file_exist(nullptr));
}

TEST(OsFile, TellsTheSizeInBytes) {
    const TempFolder folder;
    EXPECT_EQ(5u, os_file_size(folder.file("five", std::string("a\0b\r\n", 5)).c_str()));
    EXPECT_EQ(0u, os_file_size(folder.file("empty", "").c_str()));
}

TEST(OsFile, TellsASizeAbove4GiB) {
    const TempFolder folder;
    const std::string path = folder.file("sparse", "");
    ASSERT_EQ(0, truncate(path.c_str(), off_t{5} << 30));
    EXPECT_EQ(uint64_t{5} << 30, os_file_size(path.c_str()));
}

TEST(OsFile, GivesSizeZeroForWhatHasNone) {
    const TempFolder folder;
    EXPECT_EQ(0u, os_file_size(folder.path("missing").c_str()));
    EXPECT_EQ(0u, os_file_size(folder.path().c_str()));
    EXPECT_EQ(0u, os_file_size(nullptr));
}
