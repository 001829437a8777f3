/*
 * Files that take their target's name once they are complete.
 */
#include "support/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>
#include <vector>

#include "doubles/libc_doubles.h"
#include "support/key_files.h"
#include "unit/support/held_folder_fixture.h"

namespace {

using Placed = AtomicFile::Placed;
using Sync = AtomicFile::Sync;

constexpr char kSuffix[] = ".part";

class AtomicFiles : public HeldFolderTest {
  protected:
    /* The file does not take the target's place, for this reason, and is gone; the target keeps what it has.
     */
    void expect_not_in_place(int cause) {
        folder_.file("target", "old");
        {
            AtomicFile file(held_.get(), "target");
            ASSERT_TRUE(file.create_beside(kSuffix));
            EXPECT_EQ(Placed::kNo, file.replace_target(Sync::kAll));
            EXPECT_EQ(cause, errno);
        }
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_EQ(std::vector<std::string>{"target"}, names());
    }

    static void write_to(const AtomicFile &file, const std::string &text) {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(file.fd(), text.data(), text.size()));
    }

    /* Writes down each sync and each change of a name. */
    void record_steps() {
        doubles::libc::fsync.stand_in([this](int fd) {
            struct stat info = {};
            EXPECT_EQ(0, fstat(fd, &info));
            steps_ += S_ISDIR(info.st_mode) ? "sync folder;" : "sync file;";
            return doubles::libc::fsync.real(fd);
        });
        doubles::libc::renameat.stand_in([this](int from, const char *name, int to, const char *target) {
            steps_ += "rename;";
            return doubles::libc::renameat.real(from, name, to, target);
        });
        doubles::libc::linkat.stand_in(
            [this](int from, const char *name, int to, const char *target, int flags) {
                steps_ += "link;";
                return doubles::libc::linkat.real(from, name, to, target, flags);
            });
    }

    const std::string target_ = folder_.path("target");
    std::string steps_;
};

TEST_F(AtomicFiles, VanishUnlessTheyTakeTheTargetsPlace) {
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(std::vector<std::string>{"target.part"}, names());
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(AtomicFiles, ReplaceTheirTarget) {
    folder_.file("target", "old");
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        write_to(file, "new");
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kAll));
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, ReplaceATargetThatIsNamedByItsPath) {
    {
        AtomicFile file(AT_FDCWD, target_.c_str());
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(std::vector<std::string>{"target.part"}, names());
        EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kAll));
    }
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, BringToTheDiskWhatIsAskedFor) {
    record_steps();
    for (const Sync sync : {Sync::kNothing, Sync::kNames, Sync::kAll}) {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(Placed::kYes, file.replace_target(sync));
        steps_ += " ";
    }
    EXPECT_EQ("rename; rename;sync folder; sync file;rename;sync folder; ", steps_);
}

TEST_F(AtomicFiles, ThatBecomeATargetAreOnTheDiskWithItsName) {
    record_steps();
    AtomicFile file(held_.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    EXPECT_EQ(Placed::kYes, file.become_target());
    EXPECT_EQ("sync file;link;sync folder;", steps_);
}

TEST_F(AtomicFiles, ThatReplacedTheirTargetRemoveNothingAnyMore) {
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kNothing));
        doubles::libc::unlinkat.forget_calls();
    }
    EXPECT_EQ(0u, doubles::libc::unlinkat.calls());
}

TEST_F(AtomicFiles, BecomeATargetThatIsMissing) {
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        write_to(file, "new");
        EXPECT_EQ(Placed::kYes, file.become_target());
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, DoNotBecomeATargetThatIsThere) {
    folder_.file("target", "old");
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        write_to(file, "new");
        EXPECT_EQ(Placed::kNo, file.become_target());
        EXPECT_EQ(EEXIST, errno);
    }
    EXPECT_EQ("old", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, TakeThePlaceOfWhatAKilledWriterLeft) {
    folder_.file("victim", "precious");
    ASSERT_EQ(0, symlink("victim", folder_.path("target.part").c_str()));
    AtomicFile file(held_.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    write_to(file, "new");
    EXPECT_EQ("precious", key_file_bytes(folder_.path("victim").c_str()));
    EXPECT_EQ("new", key_file_bytes(folder_.path("target.part").c_str()));
}

TEST_F(AtomicFiles, TryTwiceToRemoveWhatAKilledWriterLeft) {
    folder_.file("target.part", "left");
    doubles::libc::unlinkat.fail_call(1, EIO);
    {
        AtomicFile file(held_.get(), "target");
        EXPECT_FALSE(file.create_beside(kSuffix));
        EXPECT_EQ(EEXIST, errno);
        EXPECT_EQ(std::vector<std::string>{"target.part"}, names());
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(AtomicFiles, AreForTheirOwnerOnly) {
    const mode_t before = umask(0);
    AtomicFile file(held_.get(), "target");
    EXPECT_TRUE(file.create_beside(kSuffix, O_WRONLY | O_APPEND));
    umask(before);
    struct stat info = {};
    ASSERT_EQ(0, fstat(file.fd(), &info));
    EXPECT_EQ(0600u, info.st_mode & 07777u);
    EXPECT_EQ(FD_CLOEXEC, fcntl(file.fd(), F_GETFD));
    EXPECT_EQ(O_WRONLY | O_APPEND, fcntl(file.fd(), F_GETFL) & (O_ACCMODE | O_APPEND));
}

TEST_F(AtomicFiles, MayBeMadeBySomebodyElse) {
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.name_beside(kSuffix));
        folder_.file("target.part", "new");
        EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kNames));
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.name_beside(kSuffix));
        folder_.file("target.part", "half");
    }
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, OfAKindHaveANameOfTheirOwn) {
    static std::string removed;
    folder_.file("kind.unfinished.aB3dE6", "left");
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_unique("kind", [](const char *name) { removed = name; }));
        EXPECT_EQ("kind.unfinished.aB3dE6", removed);
        ASSERT_EQ(1u, names().size());
        EXPECT_EQ(0u, names().front().find("kind.unfinished."));
        write_to(file, "new");
        EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kAll));
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(AtomicFiles, OfAKindNeedAFolder) {
    AtomicFile file(-1, "target");
    EXPECT_FALSE(file.create_unique("kind", nullptr));
    EXPECT_EQ(EBADF, errno);
}

TEST_F(AtomicFiles, HandOverTheirDescriptor) {
    AtomicFile file(held_.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kNothing));
    const UniqueFd taken = file.take_fd();
    EXPECT_EQ(3, write(taken.get(), "new", 3));
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
}

/* Whoever may rename a folder on the way to it leads nothing astray. */
TEST_F(AtomicFiles, StayInTheirFolderWhereverItIsMoved) {
    const std::string inner = folder_.path("inner");
    const std::string moved = folder_.path("moved");
    std::filesystem::create_directory(inner);
    const UniqueFd held(open(inner.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    AtomicFile file(held.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    std::filesystem::rename(inner, moved);
    std::filesystem::create_directory(inner);
    EXPECT_EQ(Placed::kYes, file.replace_target(Sync::kAll));
    EXPECT_TRUE(std::filesystem::exists(moved + "/target"));
    EXPECT_TRUE(std::filesystem::is_empty(inner));
}

TEST_F(AtomicFiles, NeedRoomForTheirNames) {
    const std::string longest(NAME_MAX - sizeof(kSuffix) + 1, 'x');
    AtomicFile file(held_.get(), longest.c_str());
    EXPECT_TRUE(file.create_beside(kSuffix));

    const std::string path = "/" + std::string(PATH_MAX, 'x');
    for (const std::string &target : {longest + "x", path, path + "/target"}) {
        AtomicFile none(held_.get(), target.c_str());
        EXPECT_FALSE(none.create_beside(kSuffix));
        EXPECT_EQ(ENAMETOOLONG, errno);
    }
}

TEST_F(AtomicFiles, KeepTheCauseOfAFailureWhenTheyAreRemoved) {
    doubles::libc::unlinkat.fail(EIO);
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        errno = ENOSPC;
    }
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(AtomicFiles, ThatCannotBeSyncedReplaceNothing) {
    doubles::libc::fsync.fail(EIO);
    expect_not_in_place(EIO);
}

TEST_F(AtomicFiles, ThatCannotBeRenamedReplaceNothing) {
    doubles::libc::renameat.fail(EBUSY);
    expect_not_in_place(EBUSY);
}

TEST_F(AtomicFiles, ThatCannotBeSyncedDoNotBecomeTheTarget) {
    doubles::libc::fsync.fail(EIO);
    AtomicFile file(held_.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    EXPECT_EQ(Placed::kNo, file.become_target());
    EXPECT_EQ(std::vector<std::string>{"target.part"}, names());
}

TEST_F(AtomicFiles, ThatCannotBeLinkedDoNotBecomeTheTarget) {
    doubles::libc::linkat.fail(EMLINK);
    {
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(Placed::kNo, file.become_target());
        EXPECT_EQ(EMLINK, errno);
    }
    EXPECT_TRUE(names().empty());
}

class AtomicFilesFolder : public AtomicFiles, public testing::WithParamInterface<int> {};

/* Some file systems refuse to sync a folder, and need not. */
TEST_P(AtomicFilesFolder, ThatCannotBeSyncedIsNotedUnlessItNeedNotBe) {
    doubles::libc::fsync.stand_in([](int fd) {
        struct stat info = {};
        EXPECT_EQ(0, fstat(fd, &info));
        if (!S_ISDIR(info.st_mode)) {
            return doubles::libc::fsync.real(fd);
        }
        errno = GetParam();
        return -1;
    });
    const Placed expected = GetParam() == EINVAL ? Placed::kYes : Placed::kUnsynced;
    for (const bool replaces : {true, false}) {
        std::filesystem::remove(target_);
        AtomicFile file(held_.get(), "target");
        ASSERT_TRUE(file.create_beside(kSuffix));
        EXPECT_EQ(expected, replaces ? file.replace_target(Sync::kNames) : file.become_target());
        EXPECT_EQ(GetParam(), errno);
        EXPECT_TRUE(std::filesystem::exists(target_));
    }
}

INSTANTIATE_TEST_SUITE_P(Causes, AtomicFilesFolder, testing::Values(EIO, EINVAL));

TEST_F(AtomicFiles, AFolderThatCannotBeOpenedForSyncingIsNoted) {
    AtomicFile file(held_.get(), "target");
    ASSERT_TRUE(file.create_beside(kSuffix));
    doubles::libc::openat.fail(EMFILE);
    EXPECT_EQ(Placed::kUnsynced, file.replace_target(Sync::kNames));
    EXPECT_EQ(EMFILE, errno);
    EXPECT_FALSE(file.sync_folder());
}

}  // namespace
