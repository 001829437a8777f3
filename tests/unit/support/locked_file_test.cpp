/*
 * Files under a name of their own, and what killed processes leave of them.
 */
#include "support/locked_file.h"

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

#include "doubles/libc_doubles.h"
#include "unit/support/held_folder_fixture.h"

namespace {

constexpr char kKind[] = "kind";
constexpr char kLeftover[] = "kind.unfinished.aB3dE6";

std::vector<std::string> g_removed;

void note_removed(const char *name) {
    g_removed.emplace_back(name);
}

/* A file of the kind, as long as the object lives. */
struct LockedFile {
    explicit LockedFile(int folder) : fd(make_locked_file(folder, kKind, name, sizeof(name), note_removed)) {}

    char name[NAME_MAX + 1] = "untouched";
    const UniqueFd fd;
};

class LockedFiles : public HeldFolderTest {
  protected:
    void SetUp() override {
        HeldFolderTest::SetUp();
        g_removed.clear();
    }

    /* No file can be made, for this reason, and nothing is left of it. */
    void expect_none(int cause) {
        errno = 0;
        {
            const LockedFile file(held_.get());
            EXPECT_EQ(cause, errno);
            EXPECT_FALSE(file.fd);
            EXPECT_STREQ("", file.name);
        }
        EXPECT_TRUE(names().empty());
    }

    /* Puts a function in the place of the one that makes files, and counts its calls. */
    template <typename Make>
    void make_files_by(Make make) {
        doubles::libc::openat.stand_in([this, make](int folder, const char *name, int flags, mode_t mode) {
            if ((flags & O_CREAT) == 0) {
                return doubles::libc::openat.real(folder, name, flags, mode);
            }
            ++made_;
            return make(name);
        });
    }

    int make_file(const char *name) const {
        return doubles::libc::openat.real(held_.get(), name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    }

    /* Counts the files that are made. */
    void count_files() {
        make_files_by([this](const char *name) { return make_file(name); });
    }

    unsigned made_ = 0;
};

TEST_F(LockedFiles, AreForTheirOwnerOnly) {
    for (const mode_t mask : {0u, 0777u}) {
        const mode_t before = umask(mask);
        const LockedFile file(held_.get());
        umask(before);

        ASSERT_TRUE(file.fd);
        EXPECT_EQ(std::vector<std::string>{file.name}, names());
        EXPECT_EQ(0u, std::string(file.name).find("kind.unfinished."));
        EXPECT_EQ(strlen(kLeftover), strlen(file.name));
        struct stat info = {};
        ASSERT_EQ(0, fstat(file.fd.get(), &info));
        EXPECT_EQ(0600u, info.st_mode & 07777u);
        EXPECT_EQ(FD_CLOEXEC, fcntl(file.fd.get(), F_GETFD));
        EXPECT_EQ(0, unlink(folder_.path(file.name).c_str()));
    }
}

TEST_F(LockedFiles, OfAKilledProcessAreRemovedByTheNext) {
    const pid_t pid = fork();
    if (pid == 0) {
        const LockedFile file(held_.get());
        (void)raise(SIGKILL);
    }
    ASSERT_EQ(pid, waitpid(pid, nullptr, 0));
    const std::vector<std::string> left = names();
    ASSERT_EQ(1u, left.size());

    const LockedFile other(held_.get());
    EXPECT_EQ(std::vector<std::string>{other.name}, names());
    EXPECT_EQ(left, g_removed);
}

TEST_F(LockedFiles, OfALivingProcessStay) {
    int ready[2];
    int finish[2];
    ASSERT_EQ(0, pipe(ready));
    ASSERT_EQ(0, pipe(finish));
    const pid_t pid = fork();
    if (pid == 0) {
        char byte = 0;
        const LockedFile file(held_.get());
        (void)!write(ready[1], &byte, 1);
        (void)!read(finish[0], &byte, 1);
        _exit(renameat(held_.get(), file.name, held_.get(), "target"));
    }
    char byte = 0;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    const LockedFile other(held_.get());
    EXPECT_EQ(2u, names().size());
    EXPECT_TRUE(g_removed.empty());

    ASSERT_EQ(1, write(finish[1], &byte, 1));
    int status = -1;
    ASSERT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ((std::vector<std::string>{other.name, "target"}), names());
    for (const int fd : {ready[0], ready[1], finish[0], finish[1]}) {
        close(fd);
    }
}

TEST_F(LockedFiles, OfOneProcessStandSideBySide) {
    const LockedFile first(held_.get());
    const LockedFile second(held_.get());
    EXPECT_TRUE(first.fd);
    EXPECT_TRUE(second.fd);
    EXPECT_EQ(2u, names().size());
}

TEST_F(LockedFiles, LeaveEverythingElseAlone) {
    std::vector<std::string> others = {
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
    others.emplace_back(LockedFile(held_.get()).name);
    std::sort(others.begin(), others.end());
    EXPECT_EQ(others, names());
    EXPECT_EQ(std::vector<std::string>{kLeftover}, g_removed);
}

TEST_F(LockedFiles, LeaveWhatIsNoFileAlone) {
    folder_.file("victim", "content");
    ASSERT_EQ(0, mkdir(folder_.path("kind.unfinished.folder").c_str(), 0755));
    ASSERT_EQ(0, mkfifo(folder_.path("kind.unfinished.a_pipe").c_str(), 0600));
    ASSERT_EQ(0, symlink("victim", folder_.path("kind.unfinished.a_link").c_str()));
    const std::vector<std::string> before = names();
    EXPECT_EQ(4u, before.size());
    EXPECT_TRUE(LockedFile(held_.get()).fd);
    EXPECT_EQ(before.size() + 1, names().size());
    EXPECT_TRUE(g_removed.empty());
}

TEST_F(LockedFiles, ALeftoverThatAnotherRemovesFirstIsNotTold) {
    folder_.file(kLeftover, "content");
    doubles::libc::flock.stand_in([this](int fd, int operation) {
        std::filesystem::remove(folder_.path(kLeftover));
        return doubles::libc::flock.real(fd, operation);
    });
    EXPECT_TRUE(LockedFile(held_.get()).fd);
    EXPECT_TRUE(g_removed.empty());
}

/* Between its making and its lock a file looks like a leftover. */
TEST_F(LockedFiles, TakenForALeftoverAreMadeAgain) {
    count_files();
    doubles::libc::flock.stand_in([this](int fd, int operation) {
        if (doubles::libc::flock.calls() <= 2) {
            std::filesystem::remove(folder_.path(names().front()));
        }
        return doubles::libc::flock.real(fd, operation);
    });
    const LockedFile file(held_.get());
    EXPECT_TRUE(file.fd);
    EXPECT_EQ(std::vector<std::string>{file.name}, names());
    EXPECT_EQ(3u, made_);
}

TEST_F(LockedFiles, AlwaysTakenForLeftoversAreGivenUp) {
    count_files();
    doubles::libc::flock.stand_in([this](int fd, int operation) {
        std::filesystem::remove(folder_.path(names().front()));
        return doubles::libc::flock.real(fd, operation);
    });
    expect_none(EAGAIN);
    EXPECT_EQ(10u, made_);
}

TEST_F(LockedFiles, WhoseNameIsTakenGetAnother) {
    make_files_by([this](const char *name) {
        if (made_ < 3) {
            errno = EEXIST;
            return -1;
        }
        return make_file(name);
    });
    const LockedFile file(held_.get());
    EXPECT_EQ(3u, made_);
    EXPECT_TRUE(file.fd);
}

TEST_F(LockedFiles, HaveNamesOfTheirOwn) {
    std::set<std::string> drawn;
    make_files_by([&drawn](const char *name) {
        drawn.insert(name);
        errno = EROFS;
        return -1;
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(LockedFile(held_.get()).fd);
    }
    EXPECT_EQ(1000u, drawn.size());
}

TEST_F(LockedFiles, AreMadeThoughTheFolderCanNotBeListed) {
    doubles::libc::fdopendir.fail(ENOMEM);
    EXPECT_TRUE(LockedFile(held_.get()).fd);
}

TEST_F(LockedFiles, AnInterruptedLockIsTriedAgain) {
    doubles::libc::flock.fail_call(1, EINTR);
    EXPECT_TRUE(LockedFile(held_.get()).fd);
    EXPECT_EQ(2u, doubles::libc::flock.calls());
}

TEST_F(LockedFiles, NeedAFolderThatCanBeWritten) {
    const LockedFile file(-1);
    EXPECT_EQ(EBADF, errno);
    EXPECT_FALSE(file.fd);
}

TEST_F(LockedFiles, WithoutADescriptorThereIsNone) {
    make_files_by([](const char *) {
        errno = EMFILE;
        return -1;
    });
    expect_none(EMFILE);
}

TEST_F(LockedFiles, ThatCannotBeLockedAreRemoved) {
    doubles::libc::flock.fail(ENOLCK);
    expect_none(ENOLCK);
}

TEST_F(LockedFiles, ThatCannotBeProtectedAreRemoved) {
    doubles::libc::fchmod.fail(EPERM);
    expect_none(EPERM);
}

TEST_F(LockedFiles, OfWhichNothingIsKnownAreRemoved) {
    doubles::libc::fstat.fail(EIO);
    expect_none(EIO);
}

}  // namespace
