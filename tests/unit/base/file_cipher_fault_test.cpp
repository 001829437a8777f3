/*
 * Encrypting and decrypting files when the system fails: the file is unchanged, and nothing is left next to
 * it.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "unit/base/file_cipher_fixture.h"
#include "unit/base/secret_doubles.h"

namespace {

using Operation = int32_t (*)(const char *path);

/* Fails the calls for which chosen holds, and counts them. */
template <typename... Args, typename Chosen>
void fail_chosen(doubles::Double<int(Args...)> *function, int cause, Chosen chosen) {
    function->stand_in([function, cause, chosen](Args... args) {
        if (chosen(args...)) {
            errno = cause;
            return -1;
        }
        return function->real(args...);
    });
}

/* Each test runs once with the one call and once with the other. */
class FileCipherFaults : public FileCipherTest, public testing::WithParamInterface<Operation> {
  protected:
    /* The initial content of the file, three chunks; encrypted for a decryption. */
    void SetUp() override {
        FileCipherTest::SetUp();
        const std::string plain = some_content(2 * kChunkSize + 100);
        before_ = GetParam() == zn_decrypt_file_ex ? enciphered(plain) : plain;
        put(before_);
        doubles::restore_all();
    }

    int32_t run() const { return GetParam()(path().c_str()); }

    void expect_failure(const std::string &cause) const {
        const LogCapture log;
        EXPECT_EQ(0, run());
        EXPECT_EQ(1u, log.count(path() + " stays as it is, errno=" + cause)) << log.text();
        EXPECT_TRUE(before_ == content());
        EXPECT_TRUE(stands_alone());
    }

    void expect_success() const {
        EXPECT_EQ(1, run());
        EXPECT_TRUE(before_ != content());
        EXPECT_TRUE(stands_alone());
    }

    std::string before_;
};

INSTANTIATE_TEST_SUITE_P(Both, FileCipherFaults, testing::Values(zn_encrypt_file_ex, zn_decrypt_file_ex),
                         [](const auto &tested) { return tested.index == 0 ? "Encipher" : "Decipher"; });

TEST_P(FileCipherFaults, WithoutAFaultTheFileIsReplaced) {
    expect_success();
}

TEST_P(FileCipherFaults, APathThatCannotBeResolved) {
    doubles::libc::realpath.fail(EACCES);
    expect_failure("13");
}

TEST_P(FileCipherFaults, AFileThatCannotBeOpened) {
    fail_chosen(&doubles::libc::openat, EACCES, [this](int, const char *name, int, mode_t) {
        return std::filesystem::path(path()).filename() == name;
    });
    expect_failure("13, cause: Permission denied");
}

TEST_P(FileCipherFaults, AFolderThatCannotBeOpened) {
    fail_chosen(&doubles::libc::open, EMFILE,
                [](const char *, int flags, mode_t) { return (flags & O_PATH) != 0; });
    expect_failure("24");
}

/* Where its name was looked up there was no link yet. */
TEST_P(FileCipherFaults, ALinkInTheFilesPlaceIsNotFollowed) {
    const std::string other = path() + ".other";
    doubles::libc::realpath.stand_in([this, &other](const char *name, char *resolved) {
        char *found = doubles::libc::realpath.real(name, resolved);
        std::filesystem::rename(path(), other);
        std::filesystem::create_symlink(other, path());
        return found;
    });
    EXPECT_EQ(0, run());
    EXPECT_TRUE(std::filesystem::is_symlink(path()));
    EXPECT_TRUE(before_ == content());
    std::filesystem::rename(other, path());
    EXPECT_TRUE(stands_alone());
}

TEST_P(FileCipherFaults, AFileOfWhichNothingIsKnown) {
    fail_chosen(&doubles::libc::fstat, EIO,
                [](int, struct stat *) { return doubles::libc::fstat.calls() == 1; });
    expect_failure("5");
}

TEST_P(FileCipherFaults, AFolderThatTakesNoFile) {
    fail_chosen(&doubles::libc::openat, EROFS,
                [](int, const char *, int flags, mode_t) { return (flags & O_CREAT) != 0; });
    expect_failure("30");
}

TEST_P(FileCipherFaults, ATemporaryFileThatCannotBeLocked) {
    fail_chosen(&doubles::libc::flock, ENOLCK, [](int, int) { return true; });
    expect_failure("37");
}

/* The key file takes two reads: its bytes, and its end. */
TEST_P(FileCipherFaults, EveryReadThatFails) {
    for (unsigned which = 3; which <= 6; ++which) {
        doubles::restore_all();
        doubles::libc::read.fail_call(which, EIO);
        expect_failure("5");
        EXPECT_EQ(which, doubles::libc::read.calls());
    }
}

TEST_P(FileCipherFaults, EveryWriteThatFindsTheDiskFull) {
    const unsigned writes = GetParam() == zn_decrypt_file_ex ? 3 : 4;
    for (unsigned which = 1; which <= writes; ++which) {
        doubles::restore_all();
        doubles::libc::write.stand_in([which](int fd, const void *data, size_t size) -> ssize_t {
            if (doubles::libc::write.calls() < which) {
                return doubles::libc::write.real(fd, data, size);
            }
            if (doubles::libc::write.calls() == which && size > 1) {
                return doubles::libc::write.real(fd, data, size / 2);
            }
            errno = ENOSPC;
            return -1;
        });
        expect_failure("28, cause: No space left on device");
    }
    doubles::restore_all();
    expect_success();
    EXPECT_EQ(writes, doubles::libc::write.calls());
}

TEST_P(FileCipherFaults, AWriteThatTakesNothing) {
    doubles::libc::write.stand_in([](int, const void *, size_t) -> ssize_t { return 0; });
    expect_failure("28");
}

/* The system refuses a file of more than 100,000 bytes. */
TEST_P(FileCipherFaults, ALimitOfTheFilesSize) {
    struct rlimit limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &limit));
    const struct rlimit small = {100000, limit.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    const int32_t result = run();
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
    (void)std::signal(SIGXFSZ, handler);

    EXPECT_EQ(0, result);
    EXPECT_TRUE(before_ == content());
    EXPECT_TRUE(stands_alone());
}

TEST_P(FileCipherFaults, InterruptedAndShortCallsAreContinued) {
    doubles::libc::read.stand_in([](int fd, void *buffer, size_t size) -> ssize_t {
        if (doubles::libc::read.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, buffer, size > 5000 ? 5000 : size);
    });
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::write.real(fd, data, size > 5000 ? 5000 : size);
    });
    expect_success();
}

/* Once for the file's making, and once for its owner's rights. */
TEST_P(FileCipherFaults, AccessRightsThatCannotBeSet) {
    for (unsigned which = 1; which <= 2; ++which) {
        doubles::restore_all();
        fail_chosen(&doubles::libc::fchmod, EPERM,
                    [which](int, mode_t) { return doubles::libc::fchmod.calls() == which; });
        expect_failure("1, cause: Operation not permitted");
    }
}

TEST_P(FileCipherFaults, AnOwnerThatCannotBeKeptLeavesTheFileToTheCallerAlone) {
    ASSERT_EQ(0, chmod(path().c_str(), 0664));
    fail_chosen(&doubles::libc::fchown, EPERM, [](int, uid_t, gid_t) { return true; });
    expect_success();
    EXPECT_EQ(0600u, mode_of(path()));
    EXPECT_EQ(1u, doubles::libc::fchown.calls());
}

TEST_P(FileCipherFaults, TheOwnerIsKept) {
    struct stat info = {};
    ASSERT_EQ(0, stat(path().c_str(), &info));
    doubles::libc::fchown.stand_in([&info](int fd, uid_t user, gid_t group) {
        EXPECT_EQ(info.st_uid, user);
        EXPECT_EQ(info.st_gid, group);
        return doubles::libc::fchown.real(fd, user, group);
    });
    expect_success();
    EXPECT_EQ(1u, doubles::libc::fchown.calls());
}

TEST_P(FileCipherFaults, AFileThatCannotBeSynced) {
    fail_chosen(&doubles::libc::fsync, EIO, [](int) { return true; });
    expect_failure("5");
}

TEST_P(FileCipherFaults, AFileThatCannotBeRenamed) {
    fail_chosen(&doubles::libc::renameat, EBUSY, [](int, const char *, int, const char *) { return true; });
    expect_failure("16");
}

TEST_P(FileCipherFaults, TheFileIsOnTheDiskBeforeItTakesItsPlace) {
    std::string steps;
    doubles::libc::fsync.stand_in([&steps](int fd) {
        struct stat info = {};
        EXPECT_EQ(0, doubles::libc::fstat.real(fd, &info));
        steps += S_ISDIR(info.st_mode) ? "folder " : "file ";
        return doubles::libc::fsync.real(fd);
    });
    doubles::libc::renameat.stand_in([&steps](int from_folder, const char *from, int folder, const char *to) {
        steps += "rename ";
        return doubles::libc::renameat.real(from_folder, from, folder, to);
    });
    expect_success();
    EXPECT_EQ("file rename folder ", steps);
}

TEST_P(FileCipherFaults, AFolderThatCannotBeSyncedIsAWarning) {
    const LogCapture log;
    fail_chosen(&doubles::libc::fsync, EIO, [](int) { return doubles::libc::fsync.calls() == 2; });
    expect_success();
    EXPECT_EQ(1u, log.count("can't sync the folder")) << log.text();
}

TEST_P(FileCipherFaults, EveryLackOfMemory) {
    for (unsigned which = 1; which <= 2; ++which) {
        doubles::restore_all();
        doubles::base::os_mem_malloc.fail_call(which, ENOMEM);
        expect_failure("12, cause: Cannot allocate memory");
    }
    doubles::restore_all();
    expect_success();
    EXPECT_EQ(2u, doubles::base::os_mem_malloc.calls());
}

TEST_P(FileCipherFaults, NoDescriptorReachesAShellsChild) {
    bool all = true;
    doubles::libc::open.stand_in([&all](const char *name, int flags, mode_t mode) {
        all = all && (flags & O_CLOEXEC) != 0;
        return doubles::libc::open.real(name, flags, mode);
    });
    unsigned made = 0;
    doubles::libc::openat.stand_in([&all, &made](int folder, const char *name, int flags, mode_t mode) {
        all = all && (flags & O_CLOEXEC) != 0;
        made += (flags & O_CREAT) != 0 ? 1 : 0;
        return doubles::libc::openat.real(folder, name, flags, mode);
    });
    expect_success();
    EXPECT_TRUE(all);
    EXPECT_EQ(1u, made);
}

/* Deciphering must not show what it wrote so far to anybody else. */
TEST_P(FileCipherFaults, TheTemporaryFileBelongsToItsOwnerUntilItIsWhole) {
    ASSERT_EQ(0, chmod(path().c_str(), 0644));
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) {
        struct stat info = {};
        EXPECT_EQ(0, doubles::libc::fstat.real(fd, &info));
        EXPECT_EQ(0600u, info.st_mode & 07777u);
        return doubles::libc::write.real(fd, data, size);
    });
    expect_success();
}

/* What was plain is wiped before its memory is given back. */
TEST_P(FileCipherFaults, MemoryIsWipedOfTheContent) {
    void *plain = nullptr;
    bool wiped = false;
    doubles::base::os_mem_malloc.stand_in([&plain](size_t size) {
        void *block = doubles::base::os_mem_malloc.real(size);
        plain = plain == nullptr ? block : plain;
        return block;
    });
    doubles::secrets::sodium_memzero.stand_in([&](void *bytes, size_t size) {
        wiped = wiped || (bytes == plain && size == kChunkSize);
        doubles::secrets::sodium_memzero.real(bytes, size);
    });
    expect_success();
    EXPECT_TRUE(wiped);
}

}  // namespace
