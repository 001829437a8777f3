/*
 * Private folders: who can access them, where they are created, and what happens to those that a killed
 * process left.
 */
#include "frwk_dbrm/files/private_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "support/log_checks.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/another_user.h"

namespace {

constexpr char kTmp[] = "/tmp/m_tmp";
constexpr char kShared[] = "/tmp";
constexpr char kDisk[] = "/m_data/usr";
constexpr char kLeftover[] = "/tmp/m_tmp/backup.private.aB3dE6";
constexpr uint64_t kRoom = 1 << 20;

class PrivateFolders : public testing::Test {
  protected:
    PrivateFolders() {
        doubles::restore_all();
        for (const char *parent : {kTmp, kDisk}) {
            std::filesystem::create_directories(parent);
        }
        set_modes();
        for (const char *parent : {kTmp, kShared, kDisk}) {
            for (const std::string &name : folders_in(parent)) {
                std::filesystem::remove_all(std::string(parent) + "/" + name);
            }
        }
    }
    ~PrivateFolders() override {
        doubles::restore_all();
        set_modes();
    }

    static void set_modes(mode_t temp = 0755, mode_t shared = 01777, mode_t disk = 0755) {
        EXPECT_EQ(0, ::chmod(kTmp, temp));
        EXPECT_EQ(0, ::chmod(kShared, shared));
        EXPECT_EQ(0, ::chmod(kDisk, disk));
    }

    static std::vector<std::string> folders_in(const char *parent) {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(parent)) {
            const std::string name = entry.path().filename();
            if (name.find("backup.private") == 0) {
                names.push_back(name);
            }
        }
        return names;
    }

    static size_t folders() {
        return folders_in(kTmp).size() + folders_in(kShared).size() + folders_in(kDisk).size();
    }

    static bool is_in(const PrivateFolder &folder, const std::string &parent) {
        return std::string(folder.file()).find(parent + "/backup.private.") == 0;
    }

    static void leave_folder() {
        std::filesystem::create_directory(kLeftover);
        EXPECT_TRUE(write_text(std::string(kLeftover) + "/backup", "in the clear"));
    }

    /* Lets the parents' file systems have so few bytes left. */
    static void fill(const std::set<std::string> &parents, uint64_t left) {
        doubles::libc::statvfs.stand_in([parents, left](const char *path, struct statvfs *info) {
            const int result = doubles::libc::statvfs.real(path, info);
            if (parents.count(path) != 0) {
                info->f_frsize = 1;
                info->f_bavail = static_cast<fsblkcnt_t>(left);
            }
            return result;
        });
    }

    static void expect_none(int error) {
        PrivateFolder folder;
        EXPECT_FALSE(folder.make(kRoom));
        EXPECT_EQ(error, errno);
        EXPECT_STREQ("", folder.file());
        EXPECT_EQ(0u, folders());
    }
};

TEST_F(PrivateFolders, LetNobodyElseIn) {
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_TRUE(is_in(folder, kTmp));
    const std::string path = std::filesystem::path(folder.file()).parent_path();
    EXPECT_EQ(0700u, mode_of(path));
    EXPECT_EQ(::geteuid(), owner_of(path));
}

TEST_F(PrivateFolders, AreGoneInTheEndWithAllThatIsInThem) {
    {
        PrivateFolder folder;
        ASSERT_TRUE(folder.make(kRoom));
        ASSERT_TRUE(write_text(folder.file(), "text"));
        ASSERT_TRUE(write_text(std::string(folder.file()) + ".unfinished", "text"));
    }
    EXPECT_EQ(0u, folders());
}

TEST_F(PrivateFolders, ThatWereNeverMadeRemoveNothing) {
    { const PrivateFolder folder; }
    EXPECT_EQ(0u, doubles::libc::rmdir.calls());
}

TEST_F(PrivateFolders, StandSideBySide) {
    PrivateFolder one;
    PrivateFolder other;
    ASSERT_TRUE(one.make(kRoom));
    ASSERT_TRUE(other.make(kRoom));
    EXPECT_STRNE(one.file(), other.file());
    EXPECT_EQ(2u, folders());
}

TEST_F(PrivateFolders, AreOnTheDiskWhereTmpfsHasNoRoom) {
    fill({kTmp, kShared}, kRoom - 1);
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_TRUE(is_in(folder, kDisk));
}

/* Root's on a device whose modules run as another user. */
TEST_F(PrivateFolders, AreInTheSharedFolderWhereAnotherOwnsTheDevices) {
    give_to_another_user({kTmp, kDisk});
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_TRUE(is_in(folder, kShared));
}

TEST_F(PrivateFolders, AreMadeInAStickyFolder) {
    set_modes(01777);
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_TRUE(is_in(folder, kTmp));
}

TEST_F(PrivateFolders, NeedTheirRoomAndNoMore) {
    fill({kTmp, kShared, kDisk}, kRoom - 1);
    expect_none(ENOSPC);
    fill({kTmp, kShared, kDisk}, kRoom);
    EXPECT_TRUE(PrivateFolder().make(kRoom));
}

TEST_F(PrivateFolders, OnADiskOfUnknownSizeAreNone) {
    doubles::libc::statvfs.fail(EIO);
    expect_none(EIO);
}

TEST_F(PrivateFolders, AreNotMadeWhereAnotherCouldMoveThem) {
    set_modes(0777, 0777);
    {
        PrivateFolder folder;
        ASSERT_TRUE(folder.make(kRoom));
        EXPECT_TRUE(is_in(folder, kDisk));
    }
    set_modes(0777, 0777, 0777);
    expect_none(EPERM);
}

TEST_F(PrivateFolders, NeedAFolderToBeMadeIn) {
    std::filesystem::rename(kDisk, "/m_data/elsewhere");
    fill({kTmp, kShared}, 0);
    PrivateFolder folder;
    EXPECT_FALSE(folder.make(kRoom));
    EXPECT_EQ(ENOENT, errno);
    std::filesystem::rename("/m_data/elsewhere", kDisk);
}

TEST_F(PrivateFolders, OfAKilledProcessAreRemovedByTheNext) {
    const LogCapture log;
    leave_folder();
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_FALSE(std::filesystem::exists(kLeftover));
    EXPECT_TRUE(logged_once(log, kNoticeLevel, "remove_leftover",
                            "removed backup.private.aB3dE6, which a killed process left"));
}

TEST_F(PrivateFolders, OfAKilledProcessAreRemovedWhereverTheyAre) {
    const std::string on_disk = std::string(kDisk) + "/backup.private.aB3dE6";
    std::filesystem::create_directory(on_disk);
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_FALSE(std::filesystem::exists(on_disk));
}

/* Another user may have given the name to any folder there. */
TEST_F(PrivateFolders, AreNoLeftoversWhereAnotherCouldHaveRenamedThem) {
    leave_folder();
    set_modes(0777);
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_TRUE(std::filesystem::exists(std::string(kLeftover) + "/backup"));
}

TEST_F(PrivateFolders, OfALivingProcessStay) {
    leave_folder();
    const int living = ::open(kLeftover, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(0, ::flock(living, LOCK_EX));
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_TRUE(std::filesystem::exists(std::string(kLeftover) + "/backup"));
    ::close(living);
}

TEST_F(PrivateFolders, OfAnotherUserStay) {
    leave_folder();
    give_to_another_user({kLeftover});
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_TRUE(std::filesystem::exists(std::string(kLeftover) + "/backup"));
}

TEST_F(PrivateFolders, LeaveEverythingElseAlone) {
    const std::string links_to = "/m_data/usr/kept";
    std::filesystem::create_directories(links_to);
    std::filesystem::create_directory_symlink(links_to, kLeftover);
    for (const char *name : {"backup.private.aB3dE", "backup.private.aB3dE67", "backup.Private.aB3dE6"}) {
        std::filesystem::create_directory(std::string(kTmp) + "/" + name);
    }
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_TRUE(std::filesystem::is_symlink(kLeftover));
    EXPECT_TRUE(std::filesystem::exists(links_to));
    EXPECT_EQ(3u, folders());
    std::filesystem::remove(std::string(kTmp) + "/backup.Private.aB3dE6");
}

TEST_F(PrivateFolders, ThatHoldAFolderStayButEmpty) {
    const LogCapture log;
    leave_folder();
    std::filesystem::create_directory(std::string(kLeftover) + "/folder");
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_FALSE(std::filesystem::exists(std::string(kLeftover) + "/backup"));
    EXPECT_TRUE(std::filesystem::exists(kLeftover));
    EXPECT_FALSE(log.contains("which a killed process left"));
}

TEST_F(PrivateFolders, AreMadeThoughLeftoversCanNotBeListed) {
    doubles::libc::openat.stand_in([](int folder, const char *name, int flags, mode_t mode) {
        if (std::string(name) == kTmp || std::string(name) == kDisk) {
            errno = EACCES;
            return -1;
        }
        return doubles::libc::openat.real(folder, name, flags, mode);
    });
    EXPECT_TRUE(PrivateFolder().make(kRoom));
}

/* Between its making and its lock a folder looks like a leftover. */
TEST_F(PrivateFolders, TakenForLeftoversAreMadeAgain) {
    doubles::libc::flock.stand_in([](int fd, int operation) {
        if (doubles::libc::flock.calls() == 1) {
            std::filesystem::remove(std::string(kTmp) + "/" + folders_in(kTmp).front());
        }
        return doubles::libc::flock.real(fd, operation);
    });
    doubles::libc::mkdtemp.stand_in([](char *path) {
        char *made = doubles::libc::mkdtemp.real(path);
        if (doubles::libc::mkdtemp.calls() == 2) {
            std::filesystem::remove(path);
        }
        return made;
    });
    PrivateFolder folder;
    ASSERT_TRUE(folder.make(kRoom));
    EXPECT_EQ(3u, doubles::libc::mkdtemp.calls());
    EXPECT_TRUE(write_text(folder.file(), "text"));
}

TEST_F(PrivateFolders, AlwaysTakenForLeftoversAreGivenUp) {
    doubles::libc::mkdtemp.stand_in([](char *path) {
        char *made = doubles::libc::mkdtemp.real(path);
        std::filesystem::remove(path);
        return made;
    });
    expect_none(EAGAIN);
    EXPECT_EQ(30u, doubles::libc::mkdtemp.calls());
}

TEST_F(PrivateFolders, AnInterruptedLockIsTriedAgain) {
    doubles::libc::flock.fail_call(1, EINTR);
    EXPECT_TRUE(PrivateFolder().make(kRoom));
    EXPECT_EQ(2u, doubles::libc::flock.calls());
}

TEST_F(PrivateFolders, ThatCanNotBeMadeAreNone) {
    doubles::libc::mkdtemp.fail(EROFS);
    expect_none(EROFS);
}

TEST_F(PrivateFolders, ThatCanNotBeOpenedAreRemoved) {
    doubles::libc::open.fail(EMFILE);
    expect_none(EMFILE);
}

TEST_F(PrivateFolders, ThatCanNotBeLockedAreRemoved) {
    doubles::libc::flock.fail(ENOLCK);
    expect_none(ENOLCK);
}

TEST_F(PrivateFolders, OfWhichNothingIsKnownAreRemoved) {
    doubles::libc::fstat.stand_in([](int fd, struct stat *info) {
        if (doubles::libc::flock.calls() > 0) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::fstat.real(fd, info);
    });
    expect_none(EIO);
}

}  // namespace
