/*
 * The disk model itself: its results for calls whose results are known.
 */
#include "powercut/disk_history.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "support/wait_until.h"

namespace powercut {

namespace {

constexpr char kFolder[] = "/m_data/usr/model";
constexpr char kFile[] = "/m_data/usr/model/file";
constexpr char kNewFile[] = "/m_data/usr/model/file.new";

void put_old_file() {
    std::filesystem::remove_all(kFolder);
    std::filesystem::create_directories(kFolder);
    ASSERT_TRUE(write_text(kFile, "old"));
}

void write_new(const char *path, bool sync) {
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_EQ(3, ::write(fd, "new", 3));
    EXPECT_TRUE(!sync || ::fsync(fd) == 0);
    (void)::close(fd);
}

void sync_folder() {
    const int fd = ::open(kFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(0, ::fsync(fd));
    (void)::close(fd);
}

/* The contents that the file has on these disks; "none" where it is missing. */
std::set<std::string> contents_on(const std::vector<DiskImage> &disks) {
    std::set<std::string> contents;
    for (const DiskImage &disk : disks) {
        const auto found = disk.names.find(kFile);
        contents.insert(found != disk.names.end() ? disk.contents.at(found->second.file) : "none");
    }
    return contents;
}

using Texts = std::set<std::string>;

const std::string kZeros(3, '\0');

}  // namespace

TEST(DiskHistory, WhatIsWrittenInPlaceMayBeTorn) {
    put_old_file();
    const DiskHistory history({kFolder}, [] { write_new(kFile, false); });
    EXPECT_EQ((Texts{"old", "new", "", kZeros}), contents_on(history.afterwards()));
}

TEST(DiskHistory, ANameMayComeBeforeTheContentThatWasNotSynced) {
    put_old_file();
    const DiskHistory history({kFolder}, [] {
        write_new(kNewFile, false);
        (void)std::rename(kNewFile, kFile);
    });
    EXPECT_EQ((Texts{"old", "new", "", kZeros}), contents_on(history.afterwards()));
}

TEST(DiskHistory, ANameMayBeLostWhileItsFolderIsNotSynced) {
    put_old_file();
    const DiskHistory history({kFolder}, [] {
        write_new(kNewFile, true);
        (void)std::rename(kNewFile, kFile);
    });
    EXPECT_EQ((Texts{"old", "new"}), contents_on(history.afterwards()));
}

TEST(DiskHistory, NothingIsLostThatWasSyncedWithItsFolder) {
    put_old_file();
    const DiskHistory history({kFolder}, [] {
        write_new(kNewFile, true);
        (void)std::rename(kNewFile, kFile);
        sync_folder();
    });
    EXPECT_EQ((Texts{"old", "new"}), contents_on(history.during()));
    EXPECT_EQ((Texts{"new"}), contents_on(history.afterwards()));
}

TEST(DiskHistory, AFileThatWasRemovedMayComeBack) {
    put_old_file();
    const DiskHistory history({kFolder}, [] { (void)::unlink(kFile); });
    EXPECT_EQ((Texts{"old", "none"}), contents_on(history.afterwards()));
}

TEST(DiskHistory, NamesOfTwoFoldersHaveNoOrder) {
    put_old_file();
    const std::string other = std::string(kFolder) + "/other";
    std::filesystem::create_directories(other);
    const DiskHistory history({kFolder}, [&other] {
        std::filesystem::create_hard_link(kFile, other + "/copy");
        (void)::unlink(kFile);
    });
    const std::vector<DiskImage> disks = history.afterwards();
    EXPECT_TRUE(std::any_of(disks.begin(), disks.end(), [&other](const DiskImage &disk) {
        return disk.names.count(kFile) == 0 && disk.names.count(other + "/copy") == 0;
    }));
}

TEST(DiskHistory, SyncingEverythingIsEnough) {
    put_old_file();
    const DiskHistory history({kFolder}, [] {
        write_new(kFile, false);
        ::sync();
    });
    EXPECT_EQ((Texts{"new"}), contents_on(history.afterwards()));
}

TEST(DiskHistory, WhatIsWrittenAgainWithTheSameBytesMayBeLost) {
    put_old_file();
    ASSERT_TRUE(write_text(kFile, "new"));
    const DiskHistory history({kFolder}, [] { write_new(kFile, false); });
    EXPECT_EQ((Texts{"new", "", kZeros}), contents_on(history.afterwards()));
}

TEST(DiskHistory, AFileThatIsCutKeepsItsOtherBytes) {
    put_old_file();
    const DiskHistory history({kFolder}, [] { (void)::truncate(kFile, 2); });
    EXPECT_EQ((Texts{"old", "ol"}), contents_on(history.afterwards()));
}

TEST(DiskHistory, PagesAreTornOneByOne) {
    put_old_file();
    const std::string before(10000, 'o');
    const std::string after(10000, 'n');
    ASSERT_TRUE(write_text(kFile, before));
    const DiskHistory history({kFolder}, [&after] {
        const int fd = ::open(kFile, O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(10000, ::write(fd, after.data(), after.size()));
        (void)::close(fd);
    });
    const Texts contents = contents_on(history.afterwards());
    EXPECT_EQ(1u, contents.count(after.substr(0, 4096) + before.substr(4096)));
    EXPECT_EQ(1u, contents.count(before.substr(0, 4096) + after.substr(4096)));
}

}  // namespace powercut
