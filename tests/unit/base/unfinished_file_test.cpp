/*
 * Files under a name of their own until they are whole.
 */
#include "unfinished_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "unit/base/file_doubles.h"
#include "unit/base/key_files.h"
#include "unit/base/open_descriptors.h"
#include "unit/base/temp_folder.h"

namespace {

constexpr char kKind[] = "kind";
constexpr char kLeftover[] = "kind.unfinished.aB3dE6";

class UnfinishedFiles : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        descriptors_before_ = open_descriptors();
    }

    void TearDown() override {
        FaultsTest::TearDown();
        EXPECT_EQ(descriptors_before_, open_descriptors());
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(folder_.path())) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /* No file can be made, for this reason, and nothing is left of it. */
    void expect_none(int cause) {
        errno = 0;
        {
            const UnfinishedFile file(target_.c_str(), kKind);
            EXPECT_EQ(cause, errno);
            EXPECT_FALSE(file);
        }
        EXPECT_TRUE(names().empty());
    }

    /* Neither way to the target's place is open, for this reason; it keeps what it has. */
    void expect_not_in_place(int cause) {
        folder_.file("target", "old");
        {
            UnfinishedFile file(target_.c_str(), kKind);
            ASSERT_TRUE(file);
            EXPECT_FALSE(file.replace_target());
            EXPECT_EQ(cause, errno);
        }
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_EQ(std::vector<std::string>{"target"}, names());
    }

    void write_to(const UnfinishedFile &file, const std::string &text) {
        ASSERT_TRUE(file);
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(file.fd(), text.data(), text.size()));
    }

    const TempFolder folder_;
    const std::string target_ = folder_.path("target");

  private:
    int descriptors_before_ = 0;
};

TEST_F(UnfinishedFiles, StandBesideTheirTargetForTheirOwnerOnly) {
    for (const mode_t mask : {0u, 0777u}) {
        const mode_t before = umask(mask);
        const UnfinishedFile file(target_.c_str(), kKind);
        umask(before);

        ASSERT_TRUE(file);
        ASSERT_EQ(1u, names().size());
        EXPECT_EQ(0u, names().front().find("kind.unfinished."));
        EXPECT_EQ(strlen(kLeftover), names().front().size());
        struct stat info = {};
        ASSERT_EQ(0, fstat(file.fd(), &info));
        EXPECT_EQ(0600u, info.st_mode & 07777u);
        EXPECT_EQ(FD_CLOEXEC, fcntl(file.fd(), F_GETFD));
    }
}

TEST_F(UnfinishedFiles, VanishUnlessTheyTakeTheTargetsPlace) {
    { const UnfinishedFile file(target_.c_str(), kKind); }
    EXPECT_TRUE(names().empty());
}

TEST_F(UnfinishedFiles, ReplaceTheirTarget) {
    folder_.file("target", "old");
    {
        UnfinishedFile file(target_.c_str(), kKind);
        write_to(file, "new");
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_TRUE(file.replace_target());
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(UnfinishedFiles, ThatReplacedTheirTargetRemoveNothingAnyMore) {
    {
        UnfinishedFile file(target_.c_str(), kKind);
        EXPECT_TRUE(file.replace_target());
    }
    EXPECT_EQ(0u, doubles::libc::unlink.calls());
}

TEST_F(UnfinishedFiles, BecomeATargetThatIsMissing) {
    {
        UnfinishedFile file(target_.c_str(), kKind);
        write_to(file, "new");
        EXPECT_TRUE(file.become_target());
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(UnfinishedFiles, DoNotBecomeATargetThatIsThere) {
    folder_.file("target", "old");
    {
        UnfinishedFile file(target_.c_str(), kKind);
        write_to(file, "new");
        EXPECT_FALSE(file.become_target());
        EXPECT_EQ(EEXIST, errno);
    }
    EXPECT_EQ("old", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(UnfinishedFiles, OfAKilledProcessAreRemovedByTheNext) {
    const pid_t pid = fork();
    if (pid == 0) {
        const UnfinishedFile file(target_.c_str(), kKind);
        (void)raise(SIGKILL);
    }
    ASSERT_EQ(pid, waitpid(pid, nullptr, 0));
    const std::vector<std::string> left = names();
    ASSERT_EQ(1u, left.size());

    const UnfinishedFile other(folder_.path("other").c_str(), kKind);
    ASSERT_EQ(1u, names().size());
    EXPECT_NE(left, names());
}

TEST_F(UnfinishedFiles, OfALivingProcessStay) {
    int ready[2];
    int finish[2];
    ASSERT_EQ(0, pipe(ready));
    ASSERT_EQ(0, pipe(finish));
    const pid_t pid = fork();
    if (pid == 0) {
        char byte = 0;
        UnfinishedFile file(target_.c_str(), kKind);
        (void)!write(ready[1], &byte, 1);
        (void)!read(finish[0], &byte, 1);
        _exit(file.replace_target() ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    { const UnfinishedFile other(target_.c_str(), kKind); }
    EXPECT_EQ(1u, names().size());

    ASSERT_EQ(1, write(finish[1], &byte, 1));
    int status = -1;
    ASSERT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
    for (const int fd : {ready[0], ready[1], finish[0], finish[1]}) {
        close(fd);
    }
}

TEST_F(UnfinishedFiles, OfOneProcessStandSideBySide) {
    UnfinishedFile first(target_.c_str(), kKind);
    UnfinishedFile second(target_.c_str(), kKind);
    write_to(first, "first");
    write_to(second, "second");
    EXPECT_TRUE(first.replace_target());
    EXPECT_TRUE(second.replace_target());
    EXPECT_EQ("second", key_file_bytes(target_.c_str()));
}

TEST_F(UnfinishedFiles, LeaveEverythingElseAlone) {
    const std::vector<std::string> others = {
        "kind",
        "kind.backup",
        "kind.unfinished.",
        "kind.unfinished.aB3dE",
        "kind.unfinished.aB3dE6.txt",
        "kind2.unfinished.aB3dE6",
        "other.unfinished.aB3dE6",
        "unfinished.aB3dE6",
    };
    for (const std::string &name : others) {
        folder_.file(name, "content");
    }
    folder_.file(kLeftover, "content");
    { const UnfinishedFile file(target_.c_str(), kKind); }
    EXPECT_EQ(others, names());
}

TEST_F(UnfinishedFiles, LeaveWhatIsNoFileAlone) {
    folder_.file("victim", "content");
    ASSERT_EQ(0, mkdir(folder_.path("kind.unfinished.folder").c_str(), 0755));
    ASSERT_EQ(0, mkfifo(folder_.path("kind.unfinished.a_pipe").c_str(), 0600));
    ASSERT_EQ(0, symlink("victim", folder_.path("kind.unfinished.a_link").c_str()));
    const std::vector<std::string> before = names();
    { const UnfinishedFile file(target_.c_str(), kKind); }
    EXPECT_EQ(before, names());
    EXPECT_EQ(4u, before.size());
}

TEST_F(UnfinishedFiles, ALeftoverThatIsRemovedIsTold) {
    const LogCapture log;
    folder_.file(kLeftover, "content");
    { const UnfinishedFile file(target_.c_str(), kKind); }
    EXPECT_EQ(1u, log.count(std::string("removed ") + kLeftover + ", which a killed process left"))
        << log.text();
}

TEST_F(UnfinishedFiles, ALeftoverThatAnotherRemovesFirstIsNotTold) {
    const LogCapture log;
    folder_.file(kLeftover, "content");
    doubles::files::flock.stand_in([this](int fd, int operation) {
        std::filesystem::remove(folder_.path(kLeftover));
        return doubles::files::flock.real(fd, operation);
    });
    EXPECT_TRUE(UnfinishedFile(target_.c_str(), kKind));
    EXPECT_EQ("", log.text());
}

/* Between its making and its lock a file looks like a leftover. */
TEST_F(UnfinishedFiles, TakenForALeftoverAreMadeAgain) {
    doubles::files::flock.stand_in([this](int fd, int operation) {
        if (doubles::files::flock.calls() <= 2) {
            std::filesystem::remove(folder_.path(names().front()));
        }
        return doubles::files::flock.real(fd, operation);
    });
    UnfinishedFile file(target_.c_str(), kKind);
    write_to(file, "new");
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(3u, doubles::files::mkostemp.calls());
}

TEST_F(UnfinishedFiles, AlwaysTakenForLeftoversAreGivenUp) {
    doubles::files::flock.stand_in([this](int fd, int operation) {
        std::filesystem::remove(folder_.path(names().front()));
        return doubles::files::flock.real(fd, operation);
    });
    expect_none(EAGAIN);
    EXPECT_EQ(10u, doubles::files::mkostemp.calls());
}

TEST_F(UnfinishedFiles, AnInterruptedLockIsTriedAgain) {
    doubles::files::flock.stand_in([](int fd, int operation) {
        if (doubles::files::flock.calls() == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::files::flock.real(fd, operation);
    });
    EXPECT_TRUE(UnfinishedFile(target_.c_str(), kKind));
    EXPECT_EQ(2u, doubles::files::flock.calls());
}

TEST_F(UnfinishedFiles, NeedAFolderThatCanBeWritten) {
    const UnfinishedFile file(folder_.path("missing/target").c_str(), kKind);
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(file);
}

TEST_F(UnfinishedFiles, NeedAPathThatIsNotTooLong) {
    const UnfinishedFile file(("/" + std::string(PATH_MAX - 10, 'x') + "/target").c_str(), kKind);
    EXPECT_EQ(ENAMETOOLONG, errno);
    EXPECT_FALSE(file);
}

TEST_F(UnfinishedFiles, WithoutADescriptorThereIsNone) {
    doubles::files::mkostemp.stand_in([](char *, int) {
        errno = EMFILE;
        return -1;
    });
    expect_none(EMFILE);
}

TEST_F(UnfinishedFiles, ThatCannotBeLockedAreRemoved) {
    doubles::files::flock.stand_in([](int, int) {
        errno = ENOLCK;
        return -1;
    });
    expect_none(ENOLCK);
}

TEST_F(UnfinishedFiles, ThatCannotBeProtectedAreRemoved) {
    doubles::libc::fchmod.stand_in([](int, mode_t) {
        errno = EPERM;
        return -1;
    });
    expect_none(EPERM);
}

TEST_F(UnfinishedFiles, OfWhichNothingIsKnownAreRemoved) {
    doubles::files::fstat.stand_in([](int, struct stat *) {
        errno = EIO;
        return -1;
    });
    expect_none(EIO);
}

TEST_F(UnfinishedFiles, ThatCannotBeSyncedReplaceNothing) {
    doubles::libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    expect_not_in_place(EIO);
}

TEST_F(UnfinishedFiles, ThatCannotBeRenamedReplaceNothing) {
    doubles::libc::rename.stand_in([](const char *, const char *) {
        errno = EBUSY;
        return -1;
    });
    expect_not_in_place(EBUSY);
}

TEST_F(UnfinishedFiles, ThatCannotBeLinkedDoNotBecomeTheTarget) {
    doubles::files::link.stand_in([](const char *, const char *) {
        errno = EMLINK;
        return -1;
    });
    {
        UnfinishedFile file(target_.c_str(), kKind);
        EXPECT_FALSE(file.become_target());
        EXPECT_EQ(EMLINK, errno);
    }
    EXPECT_TRUE(names().empty());
}

class UnfinishedFilesFolder : public UnfinishedFiles, public testing::WithParamInterface<int> {};

/* Some file systems refuse to sync a folder, and need not. */
TEST_P(UnfinishedFilesFolder, ThatCannotBeSyncedIsNoFailure) {
    const LogCapture log;
    doubles::libc::fsync.stand_in([](int fd) {
        if (doubles::libc::fsync.calls() == 1) {
            return doubles::libc::fsync.real(fd);
        }
        errno = GetParam();
        return -1;
    });
    UnfinishedFile file(target_.c_str(), kKind);
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ(2u, doubles::libc::fsync.calls());
    EXPECT_EQ(GetParam() == EINVAL ? 0u : 1u,
              log.count("can't sync the folder " + folder_.path().substr(0, folder_.path().size() - 1) +
                        ", errno=5"))
        << log.text();
}

INSTANTIATE_TEST_SUITE_P(Causes, UnfinishedFilesFolder, testing::Values(EIO, EINVAL));

TEST_F(UnfinishedFiles, AFolderThatCannotBeOpenedForSyncingIsAWarning) {
    const LogCapture log;
    UnfinishedFile file(target_.c_str(), kKind);
    doubles::libc::open.stand_in([](const char *, int, mode_t) {
        errno = EMFILE;
        return -1;
    });
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ(1u, log.count("can't sync the folder")) << log.text();
}

}  // namespace
