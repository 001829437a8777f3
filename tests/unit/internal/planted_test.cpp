/*
 * The owners that a file may have.
 */
#include "internal/planted.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/unique_fd.h"

namespace {

constexpr uid_t kStranger = 54321;
constexpr char kPath[] = "/m_data/usr/file";

/* Whether a file of this user, with so many names, is taken for planted. */
bool planted_by(uid_t owner, FolderOwner folder_owner, nlink_t names = 1, const char *path = kPath) {
    struct stat found = {};
    found.st_mode = S_IFREG | 0644;
    found.st_uid = owner;
    found.st_nlink = names;
    return is_planted(path, found, folder_owner);
}

}  // namespace

TEST(PlantedFile, IsNeitherRootsNorThisUsers) {
    for (const FolderOwner folder_owner : {FolderOwner::kTrusted, FolderOwner::kStranger}) {
        EXPECT_FALSE(planted_by(0, folder_owner));
        EXPECT_FALSE(planted_by(::geteuid(), folder_owner));
        EXPECT_TRUE(planted_by(kStranger, folder_owner));
    }
}

TEST(PlantedFile, HasASecondName) {
    EXPECT_TRUE(planted_by(::geteuid(), FolderOwner::kTrusted, 2));
    struct stat folder = {};
    folder.st_mode = S_IFDIR | 0755;
    folder.st_uid = ::geteuid();
    folder.st_nlink = 2;
    EXPECT_FALSE(is_planted(kPath, folder, FolderOwner::kTrusted));
}

TEST(PlantedFile, IsNotItsFoldersOwners) {
    struct stat proc = {};
    ASSERT_EQ(0, ::stat("/proc/sys", &proc)); /* root's, whoever that is here */
    EXPECT_FALSE(planted_by(proc.st_uid, FolderOwner::kTrusted, 1, "/proc/sys/file"));
    EXPECT_TRUE(planted_by(kStranger, FolderOwner::kTrusted, 1, "/proc/sys/file"));
}

TEST(PlantedFile, WithoutAFolderIsAStrangers) {
    EXPECT_TRUE(planted_by(kStranger, FolderOwner::kTrusted, 1, "file"));
    EXPECT_TRUE(planted_by(kStranger, FolderOwner::kTrusted, 1, "/m_data/none/file"));
}

TEST(PlantedFile, ThatIsNotThereIsNotSetAside) {
    EXPECT_FALSE(set_aside_planted("/m_data/none/file", FolderOwner::kTrusted));
    EXPECT_FALSE(set_aside_planted("/m_data/usr", FolderOwner::kTrusted));
}

TEST(PlantedFile, WhosePathAnotherOneHasTakenStaysThere) {
    const UniqueFd open_file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(set_aside_open("/m_data/usr", open_file.get(), "read-locked"));
    EXPECT_FALSE(set_aside_open("/m_data/none/file", open_file.get(), "read-locked"));
    EXPECT_FALSE(set_aside_open("/m_data/usr", -1, "read-locked"));
    EXPECT_EQ(0, ::access("/m_data/usr", F_OK));
}
