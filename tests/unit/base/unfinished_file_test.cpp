/*
 * Temporary files that replace their target when they are complete.
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
#include <set>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/key_files.h"
#include "support/open_descriptors.h"
#include "support/temp_folder.h"
#include "unit/base/file_doubles.h"

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
            const UnfinishedFile file(held_, kKind);
            EXPECT_EQ(cause, errno);
            EXPECT_FALSE(file);
        }
        EXPECT_TRUE(names().empty());
    }

    static void expect_none_for(const std::string &target, int cause) {
        const HeldPath held(target.c_str());
        const UnfinishedFile file(held, kKind);
        EXPECT_EQ(cause, errno);
        EXPECT_FALSE(file);
    }

    /* Neither way to the target's place is open, for this reason; it keeps what it has. */
    void expect_not_in_place(int cause) {
        folder_.file("target", "old");
        {
            UnfinishedFile file(held_, kKind);
            ASSERT_TRUE(file);
            EXPECT_FALSE(file.replace_target());
            EXPECT_EQ(cause, errno);
        }
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_EQ(std::vector<std::string>{"target"}, names());
    }

    /* Puts a function in the place of the one that makes files, and counts its calls. */
    template <typename Make>
    void make_files_by(Make make) {
        doubles::files::openat.stand_in([this, make](int folder, const char *name, int flags, mode_t mode) {
            if ((flags & O_CREAT) == 0) {
                return doubles::files::openat.real(folder, name, flags, mode);
            }
            ++made_;
            return make(name);
        });
    }

    /* Counts the files that are made. */
    void count_files() {
        make_files_by([this](const char *name) {
            return doubles::files::openat.real(held_.folder(), name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC,
                                               0600);
        });
    }

    void write_to(const UnfinishedFile &file, const std::string &text) {
        ASSERT_TRUE(file);
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(file.fd(), text.data(), text.size()));
    }

    const TempFolder folder_;
    const std::string target_ = folder_.path("target");
    const HeldPath held_{target_.c_str()};

    unsigned made_ = 0;

  private:
    int descriptors_before_ = 0;
};

TEST_F(UnfinishedFiles, StandBesideTheirTargetForTheirOwnerOnly) {
    for (const mode_t mask : {0u, 0777u}) {
        const mode_t before = umask(mask);
        const UnfinishedFile file(held_, kKind);
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
    { const UnfinishedFile file(held_, kKind); }
    EXPECT_TRUE(names().empty());
}

TEST_F(UnfinishedFiles, ReplaceTheirTarget) {
    folder_.file("target", "old");
    {
        UnfinishedFile file(held_, kKind);
        write_to(file, "new");
        EXPECT_EQ("old", key_file_bytes(target_.c_str()));
        EXPECT_TRUE(file.replace_target());
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(UnfinishedFiles, ThatReplacedTheirTargetRemoveNothingAnyMore) {
    {
        UnfinishedFile file(held_, kKind);
        EXPECT_TRUE(file.replace_target());
    }
    EXPECT_EQ(0u, doubles::files::unlinkat.calls());
}

TEST_F(UnfinishedFiles, BecomeATargetThatIsMissing) {
    {
        UnfinishedFile file(held_, kKind);
        write_to(file, "new");
        EXPECT_TRUE(file.become_target());
    }
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(std::vector<std::string>{"target"}, names());
}

TEST_F(UnfinishedFiles, DoNotBecomeATargetThatIsThere) {
    folder_.file("target", "old");
    {
        UnfinishedFile file(held_, kKind);
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
        const UnfinishedFile file(held_, kKind);
        (void)raise(SIGKILL);
    }
    ASSERT_EQ(pid, waitpid(pid, nullptr, 0));
    const std::vector<std::string> left = names();
    ASSERT_EQ(1u, left.size());

    const std::string path = folder_.path("other");
    const HeldPath held(path.c_str());
    const UnfinishedFile other(held, kKind);
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
        UnfinishedFile file(held_, kKind);
        (void)!write(ready[1], &byte, 1);
        (void)!read(finish[0], &byte, 1);
        _exit(file.replace_target() ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    { const UnfinishedFile other(held_, kKind); }
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
    UnfinishedFile first(held_, kKind);
    UnfinishedFile second(held_, kKind);
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
    { const UnfinishedFile file(held_, kKind); }
    EXPECT_EQ(others, names());
}

TEST_F(UnfinishedFiles, LeaveWhatIsNoFileAlone) {
    folder_.file("victim", "content");
    ASSERT_EQ(0, mkdir(folder_.path("kind.unfinished.folder").c_str(), 0755));
    ASSERT_EQ(0, mkfifo(folder_.path("kind.unfinished.a_pipe").c_str(), 0600));
    ASSERT_EQ(0, symlink("victim", folder_.path("kind.unfinished.a_link").c_str()));
    const std::vector<std::string> before = names();
    { const UnfinishedFile file(held_, kKind); }
    EXPECT_EQ(before, names());
    EXPECT_EQ(4u, before.size());
}

TEST_F(UnfinishedFiles, ALeftoverThatIsRemovedIsTold) {
    const LogCapture log;
    folder_.file(kLeftover, "content");
    { const UnfinishedFile file(held_, kKind); }
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
    EXPECT_TRUE(UnfinishedFile(held_, kKind));
    EXPECT_EQ("", log.text());
}

/* Between its making and its lock a file looks like a leftover. */
TEST_F(UnfinishedFiles, TakenForALeftoverAreMadeAgain) {
    count_files();
    doubles::files::flock.stand_in([this](int fd, int operation) {
        if (doubles::files::flock.calls() <= 2) {
            std::filesystem::remove(folder_.path(names().front()));
        }
        return doubles::files::flock.real(fd, operation);
    });
    UnfinishedFile file(held_, kKind);
    write_to(file, "new");
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ("new", key_file_bytes(target_.c_str()));
    EXPECT_EQ(3u, made_);
}

TEST_F(UnfinishedFiles, AlwaysTakenForLeftoversAreGivenUp) {
    count_files();
    doubles::files::flock.stand_in([this](int fd, int operation) {
        std::filesystem::remove(folder_.path(names().front()));
        return doubles::files::flock.real(fd, operation);
    });
    expect_none(EAGAIN);
    EXPECT_EQ(10u, made_);
}

TEST_F(UnfinishedFiles, WhoseNameIsTakenGetAnother) {
    make_files_by([this](const char *name) {
        if (made_ < 3) {
            errno = EEXIST;
            return -1;
        }
        return doubles::files::openat.real(held_.folder(), name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    });
    UnfinishedFile file(held_, kKind);
    write_to(file, "new");
    EXPECT_EQ(3u, made_);
    EXPECT_TRUE(file.replace_target());
}

TEST_F(UnfinishedFiles, HaveNamesOfTheirOwn) {
    std::set<std::string> drawn;
    make_files_by([&drawn](const char *name) {
        drawn.insert(name);
        errno = EROFS;
        return -1;
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(UnfinishedFile(held_, kKind));
    }
    EXPECT_EQ(1000u, drawn.size());
}

/* Whoever may rename a folder on the way to it leads nothing astray. */
TEST_F(UnfinishedFiles, StayInTheirFolderWhereverItIsMoved) {
    const std::string inner = folder_.path("inner");
    const std::string moved = folder_.path("moved");
    std::filesystem::create_directory(inner);
    const std::string target = inner + "/target";
    const HeldPath held(target.c_str());
    UnfinishedFile file(held, kKind);
    write_to(file, "new");
    std::filesystem::rename(inner, moved);
    std::filesystem::create_directory(inner);
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ("new", key_file_bytes((moved + "/target").c_str()));
    EXPECT_TRUE(std::filesystem::is_empty(inner));
}

TEST_F(UnfinishedFiles, AreMadeThoughTheFolderCanNotBeListed) {
    make_files_by([this](const char *name) {
        return doubles::files::openat.real(held_.folder(), name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    });
    doubles::files::fdopendir.stand_in([](int) -> DIR * {
        errno = ENOMEM;
        return nullptr;
    });
    EXPECT_TRUE(UnfinishedFile(held_, kKind));
}

TEST_F(UnfinishedFiles, AnInterruptedLockIsTriedAgain) {
    doubles::files::flock.stand_in([](int fd, int operation) {
        if (doubles::files::flock.calls() == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::files::flock.real(fd, operation);
    });
    EXPECT_TRUE(UnfinishedFile(held_, kKind));
    EXPECT_EQ(2u, doubles::files::flock.calls());
}

TEST_F(UnfinishedFiles, NeedAFolderThatCanBeWritten) {
    expect_none_for(folder_.path("missing/target"), ENOENT);
}

TEST_F(UnfinishedFiles, NeedAPathThatIsNotTooLong) {
    for (const size_t length :
         {size_t{NAME_MAX} + 1, size_t{PATH_MAX} - 2, size_t{PATH_MAX} - 1, size_t{PATH_MAX}}) {
        expect_none_for("/" + std::string(length, 'x') + "/target", ENAMETOOLONG);
    }
}

TEST_F(UnfinishedFiles, WithoutADescriptorThereIsNone) {
    make_files_by([](const char *) {
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
    doubles::files::renameat.stand_in([](int, const char *, int, const char *) {
        errno = EBUSY;
        return -1;
    });
    expect_not_in_place(EBUSY);
}

TEST_F(UnfinishedFiles, ThatCannotBeLinkedDoNotBecomeTheTarget) {
    doubles::files::linkat.stand_in([](int, const char *, int, const char *, int) {
        errno = EMLINK;
        return -1;
    });
    {
        UnfinishedFile file(held_, kKind);
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
    UnfinishedFile file(held_, kKind);
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ(2u, doubles::libc::fsync.calls());
    EXPECT_EQ(GetParam() == EINVAL ? 0u : 1u, log.count("can't sync the folder of " + target_ + ", errno=5"))
        << log.text();
}

INSTANTIATE_TEST_SUITE_P(Causes, UnfinishedFilesFolder, testing::Values(EIO, EINVAL));

TEST_F(UnfinishedFiles, AFolderThatCannotBeOpenedForSyncingIsAWarning) {
    const LogCapture log;
    UnfinishedFile file(held_, kKind);
    doubles::files::openat.stand_in([](int, const char *, int, mode_t) {
        errno = EMFILE;
        return -1;
    });
    EXPECT_TRUE(file.replace_target());
    EXPECT_EQ(1u, log.count("can't sync the folder")) << log.text();
}

}  // namespace
