/*
 * The sources of the device's key, and the keys derived from it.
 */
#include "adapt/device_key.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "os_log.h"
#include "support/file_info.h"
#include "support/key_files.h"
#include "support/open_descriptors.h"
#include "support/threads.h"
#include "unit/base/secret_doubles.h"

namespace {

constexpr device_key::Use kOtherUse = "others-1";
constexpr char kMadeText[] =
    "/etc/quor_product.key is missing, made /m_data/usr_permanent/device.key: "
    "backups can be restored on this device only";

/* The bytes of a derived key, or nothing. */
std::optional<std::string> derived(const device_key::Use &use = device_key::kForValues) {
    device_key::Key key;
    if (!device_key::derive(use, &key)) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char *>(key.bytes), sizeof(key.bytes));
}

std::string hex(const std::string &bytes) {
    std::string digits;
    for (const char byte : bytes) {
        digits += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        digits += "0123456789abcdef"[static_cast<unsigned char>(byte) & 0xF];
    }
    return digits;
}

class DeviceKey : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        remove_key_files();
        log_.emplace();
    }

    void TearDown() override {
        log_.reset();
        FaultsTest::TearDown();
        remove_key_files();
    }

    const LogCapture &log() const { return *log_; }

    /* Nothing was derived, one warning says why, and no key was made. */
    void expect_refused(const std::string &text) const {
        EXPECT_FALSE(derived());
        EXPECT_EQ(1u, log().count(text)) << log().text();
        EXPECT_EQ(0u, log().count("made")) << log().text();
        EXPECT_TRUE(permanent_files().empty() || permanent_files().front() == "device.key");
    }

  private:
    std::optional<LogCapture> log_;
};

TEST_F(DeviceKey, AProductKeyGivesTheKeyOfValues) {
    write_key_file(kProductKeyPath, some_key());
    const auto key = derived();
    ASSERT_TRUE(key);
    EXPECT_EQ("6112e967d44e2cb79df86502782cd0d75e73814e383dc9235f9a790e4b2a0964", hex(*key));
    EXPECT_EQ("", log().text());
    EXPECT_TRUE(permanent_files().empty());
}

TEST_F(DeviceKey, EveryUseHasAKeyOfItsOwn) {
    write_key_file(kProductKeyPath, some_key());
    EXPECT_NE(derived(device_key::kForValues), derived(kOtherUse));
    EXPECT_EQ(derived(kOtherUse), derived(kOtherUse));
    EXPECT_NE(some_key(), derived().value());
}

TEST_F(DeviceKey, AProductKeyComesBeforeADeviceKey) {
    write_key_file(kDeviceKeyPath, some_key(100));
    const auto of_device = derived();
    write_key_file(kProductKeyPath, some_key());
    const auto of_product = derived();
    EXPECT_NE(of_device, of_product);
    EXPECT_EQ(some_key(100), key_file_bytes(kDeviceKeyPath));
}

TEST_F(DeviceKey, WithoutAnyKeyFileADeviceKeyIsMadeOnceWithAWarning) {
    const auto first = derived();
    const auto second = derived();
    ASSERT_TRUE(first);
    EXPECT_EQ(first, second);
    EXPECT_EQ(1u, log().count(kMadeText)) << log().text();
    EXPECT_EQ(OS_LOG_WARNING, log().system_lines().at(0).level);
    EXPECT_EQ(32u, key_file_bytes(kDeviceKeyPath).size());
    EXPECT_EQ(std::vector<std::string>{"device.key"}, permanent_files());
}

TEST_F(DeviceKey, AMadeKeyBelongsToItsOwnerWhateverTheUmask) {
    for (const mode_t mask : {0u, 0777u}) {
        remove_key_files();
        const mode_t before = umask(mask);
        EXPECT_TRUE(derived());
        umask(before);

        EXPECT_EQ(0600u, mode_of(kDeviceKeyPath));
    }
}

TEST_F(DeviceKey, TwoMadeKeysDiffer) {
    const auto first = derived();
    remove_key_files();
    EXPECT_NE(first, derived());
}

TEST_F(DeviceKey, TheLogNeverHoldsTheKey) {
    const auto key = derived();
    ASSERT_TRUE(key);
    const std::string bytes = key_file_bytes(kDeviceKeyPath);
    for (const std::string &secret : {bytes, hex(bytes), *key, hex(*key)}) {
        EXPECT_EQ(std::string::npos, log().text().find(secret));
    }
}

class DeviceKeyOfWrongSize : public DeviceKey, public testing::WithParamInterface<size_t> {};

TEST_P(DeviceKeyOfWrongSize, IsRefusedAsTheProductsKey) {
    write_key_file(kProductKeyPath, std::string(GetParam(), 'k'));
    expect_refused("the key file /etc/quor_product.key is refused: it must hold exactly 32 bytes");
}

TEST_P(DeviceKeyOfWrongSize, IsRefusedAsTheDevicesKeyAndStaysAsItIs) {
    write_key_file(kDeviceKeyPath, std::string(GetParam(), 'k'));
    expect_refused("the key file /m_data/usr_permanent/device.key is refused: it must hold exactly 32 bytes");
    EXPECT_EQ(std::string(GetParam(), 'k'), key_file_bytes(kDeviceKeyPath));
}

INSTANTIATE_TEST_SUITE_P(Sizes, DeviceKeyOfWrongSize, testing::Values(0, 1, 31, 33, 64, 100000));

TEST_F(DeviceKey, AFolderInPlaceOfTheProductKeyIsRefused) {
    ASSERT_EQ(0, mkdir(kProductKeyPath, 0755));
    expect_refused("can't read the key file /etc/quor_product.key, errno=21, cause: Is a directory");
}

TEST_F(DeviceKey, AFolderInPlaceOfTheDeviceKeyIsRefused) {
    ASSERT_EQ(0, mkdir(kDeviceKeyPath, 0755));
    expect_refused("can't read the key file /m_data/usr_permanent/device.key, errno=21");
}

TEST_F(DeviceKey, ANamedPipeDoesNotHoldTheCaller) {
    ASSERT_EQ(0, mkfifo(kProductKeyPath, 0600));
    expect_refused("the key file /etc/quor_product.key is refused");
}

TEST_F(DeviceKey, AnUnreadableProductKeyIsRefused) {
    write_key_file(kProductKeyPath, some_key());
    doubles::libc::open.stand_in([](const char *path, int flags, mode_t mode) {
        if (strcmp(path, kProductKeyPath) == 0) {
            errno = EACCES;
            return -1;
        }
        return doubles::libc::open.real(path, flags, mode);
    });
    expect_refused("can't read the key file /etc/quor_product.key, errno=13, cause: Permission denied");
}

TEST_F(DeviceKey, AFailedReadIsRefused) {
    write_key_file(kProductKeyPath, some_key());
    doubles::libc::read.fail(EIO);
    expect_refused("can't read the key file /etc/quor_product.key, errno=5");
}

TEST_F(DeviceKey, InterruptedAndShortReadsAreContinued) {
    write_key_file(kProductKeyPath, some_key());
    const auto whole = derived();
    doubles::restore_all();
    doubles::libc::read.stand_in([](int fd, void *buffer, size_t) -> ssize_t {
        if (doubles::libc::read.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, buffer, 1);
    });
    EXPECT_EQ(whole, derived());
    ASSERT_TRUE(whole);
}

/* libsodium would end the process where it asks for them itself. */
TEST_F(DeviceKey, WithoutRandomBytesThereIsNoKey) {
    doubles::libc::getrandom.fail(EIO);
    expect_refused("can't get random bytes, errno=5, cause: Input/output error");
    write_key_file(kProductKeyPath, some_key());
    EXPECT_FALSE(derived());
    doubles::libc::getrandom.restore();
    EXPECT_TRUE(derived());
}

/* A device whose folder of permanent files is missing, until the end of the scope. */
class FreshDevice {
  public:
    FreshDevice() { EXPECT_EQ(0, rmdir(kPermanentFolder)); }
    ~FreshDevice() { (void)mkdir(kPermanentFolder, 0755); }
    FreshDevice(const FreshDevice &) = delete;
    FreshDevice &operator=(const FreshDevice &) = delete;
};

TEST_F(DeviceKey, AMissingFolderIsMadeWhateverTheUmask) {
    for (const mode_t mask : {0u, 077u}) {
        const FreshDevice device;
        const mode_t before = umask(mask);
        EXPECT_TRUE(derived());
        umask(before);

        EXPECT_EQ(0755u, mode_of(kPermanentFolder));
        EXPECT_EQ(0600u, mode_of(kDeviceKeyPath));
        remove_key_files();
    }
}

TEST_F(DeviceKey, AFolderThatIsThereKeepsItsRights) {
    ASSERT_EQ(0, chmod(kPermanentFolder, 0711));
    EXPECT_TRUE(derived());
    EXPECT_EQ(0711u, mode_of(kPermanentFolder));
    ASSERT_EQ(0, chmod(kPermanentFolder, 0755));
}

TEST_F(DeviceKey, WhereTheFolderCannotBeMadeThereIsNoKey) {
    const FreshDevice device;
    doubles::libc::mkdir.fail(EROFS);
    EXPECT_FALSE(derived());
    EXPECT_EQ(1u, log().count("can't make the key file /m_data/usr_permanent/device.key, errno=2"))
        << log().text();
    doubles::libc::mkdir.restore();
}

TEST_F(DeviceKey, ANewFolderThatCannotBeSyncedIsAWarning) {
    const FreshDevice device;
    doubles::libc::fsync.stand_in([](int fd) {
        if (doubles::libc::fsync.calls() > 1) {
            return doubles::libc::fsync.real(fd);
        }
        errno = EIO;
        return -1;
    });
    EXPECT_TRUE(derived());
    EXPECT_EQ(1u, log().count("can't finish the new folder /m_data/usr_permanent, errno=5")) << log().text();
    remove_key_files();
}

/* A step of the creation that fails leaves no file, and the next call creates the key. */
TEST_F(DeviceKey, AFailedWriteLeavesNoKeyFile) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() == 1) {
            return doubles::libc::write.real(fd, data, size / 2);
        }
        errno = ENOSPC;
        return -1;
    });
    expect_refused("can't make the key file /m_data/usr_permanent/device.key, errno=28");
    EXPECT_TRUE(permanent_files().empty());
    doubles::libc::write.restore();
    EXPECT_TRUE(derived());
}

TEST_F(DeviceKey, AFailedSyncLeavesNoKeyFile) {
    doubles::libc::fsync.fail(EIO);
    expect_refused("can't make the key file /m_data/usr_permanent/device.key, errno=5");
    EXPECT_TRUE(permanent_files().empty());
    doubles::libc::fsync.restore();
    EXPECT_TRUE(derived());
}

TEST_F(DeviceKey, AKeyFileThatCannotBeProtectedIsNotKept) {
    doubles::libc::fchmod.fail(EPERM);
    expect_refused("can't make the key file /m_data/usr_permanent/device.key, errno=1");
    EXPECT_TRUE(permanent_files().empty());
}

TEST_F(DeviceKey, AFolderThatCannotBeSyncedIsAWarning) {
    doubles::libc::fsync.stand_in([](int fd) {
        if (doubles::libc::fsync.calls() == 1) {
            return doubles::libc::fsync.real(fd);
        }
        errno = EIO;
        return -1;
    });
    EXPECT_TRUE(derived());
    EXPECT_EQ(1u, log().count("can't sync the folder of /m_data/usr_permanent/device.key, errno=5"))
        << log().text();
    EXPECT_EQ(2u, doubles::libc::fsync.calls());
}

TEST_F(DeviceKey, InterruptedAndShortWritesAreContinued) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::write.real(fd, data, std::min<size_t>(size, 5));
    });
    EXPECT_TRUE(derived());
    EXPECT_EQ(32u, key_file_bytes(kDeviceKeyPath).size());
}

TEST_F(DeviceKey, AKeyThatAnotherProcessMadeMeanwhileIsTaken) {
    doubles::libc::fsync.stand_in([](int fd) {
        if (doubles::libc::fsync.calls() == 1) {
            write_key_file(kDeviceKeyPath, some_key(50));
        }
        return doubles::libc::fsync.real(fd);
    });
    const auto first = derived();
    EXPECT_EQ(some_key(50), key_file_bytes(kDeviceKeyPath));
    EXPECT_EQ(std::vector<std::string>{"device.key"}, permanent_files());
    EXPECT_EQ("", log().text());
    ASSERT_TRUE(first);
    EXPECT_EQ(first, derived());
}

TEST_F(DeviceKey, AKeyFileThatVanishesAsSoonAsItIsMadeIsAWarning) {
    doubles::libc::fsync.stand_in([](int fd) {
        if (doubles::libc::fsync.calls() == 2) {
            (void)unlink(kDeviceKeyPath);
        }
        return doubles::libc::fsync.real(fd);
    });
    EXPECT_FALSE(derived());
    EXPECT_EQ(1u,
              log().count("the key file /m_data/usr_permanent/device.key vanished as soon as it was made"))
        << log().text();
    doubles::libc::fsync.restore();
    EXPECT_TRUE(derived());
}

TEST_F(DeviceKey, WhatAKilledProcessLeftIsRemovedAtTheNextMaking) {
    const pid_t pid = fork();
    if (pid == 0) {
        doubles::libc::fsync.stand_in([](int) { return raise(SIGKILL); });
        _exit(derived() ? 1 : 2);
    }
    int status = 0;
    ASSERT_EQ(pid, waitpid(pid, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(1u, permanent_files().size());
    EXPECT_EQ(0u, permanent_files().front().find("device.key.unfinished."));

    EXPECT_TRUE(derived());
    EXPECT_EQ(std::vector<std::string>{"device.key"}, permanent_files());
}

/* A copy of the key in the same folder is not one of our files. */
TEST_F(DeviceKey, ACopyOfTheKeyStaysAtTheNextMaking) {
    const std::string copy = std::string(kDeviceKeyPath) + ".backup";
    write_key_file(copy.c_str(), some_key());
    EXPECT_TRUE(derived());
    EXPECT_EQ(some_key(), key_file_bytes(copy.c_str()));
    EXPECT_EQ(2u, permanent_files().size());
}

TEST_F(DeviceKey, ProcessesThatMakeTheKeyAtOnceEndWithOneKey) {
    for (int round = 0; round < 20; ++round) {
        remove_key_files();
        int start[2];
        int keys[2];
        ASSERT_EQ(0, pipe(start));
        ASSERT_EQ(0, pipe(keys));
        std::vector<pid_t> children;
        for (int i = 0; i < 4; ++i) {
            const pid_t pid = fork();
            if (pid == 0) {
                char go = 0;
                close(start[1]);
                (void)!read(start[0], &go, 1); /* the parent's end closes */
                const std::string key = derived().value_or(std::string(device_key::kKeySize, '-'));
                _exit(write(keys[1], key.data(), key.size()) == 32 ? 0 : 1);
            }
            children.push_back(pid);
        }
        close(start[0]);
        close(start[1]);
        for (const pid_t pid : children) {
            int status = -1;
            EXPECT_EQ(pid, waitpid(pid, &status, 0));
            EXPECT_EQ(0, status);
        }

        const std::string expected = derived().value_or("(none)");
        for (size_t i = 0; i < children.size(); ++i) {
            std::string key(device_key::kKeySize, '\0');
            ASSERT_EQ(32, read(keys[0], key.data(), key.size()));
            EXPECT_EQ(expected, key);
        }
        close(keys[0]);
        close(keys[1]);
        EXPECT_EQ(std::vector<std::string>{"device.key"}, permanent_files());
    }
}

TEST_F(DeviceKey, ThreadsThatMakeTheKeyAtOnceEndWithOneKey) {
    std::vector<std::optional<std::string>> keys(8);
    run_in_threads(keys.size(), [&keys](size_t i) { keys[i] = derived(); });

    ASSERT_TRUE(keys.front());
    for (const auto &key : keys) {
        EXPECT_EQ(keys.front(), key);
    }
    EXPECT_EQ(1u, log().count(kMadeText)) << log().text();
    EXPECT_EQ(std::vector<std::string>{"device.key"}, permanent_files());
}

TEST_F(DeviceKey, NoDescriptorStaysOpen) {
    derived();
    const size_t before = open_descriptors();
    remove_key_files();
    derived();
    derived();
    write_key_file(kProductKeyPath, "short");
    derived();
    EXPECT_EQ(before, open_descriptors());
}

TEST_F(DeviceKey, AShellsChildSeesNoKeyFile) {
    bool all = true;
    doubles::libc::open.stand_in([&all](const char *path, int flags, mode_t mode) {
        all = all && (flags & O_CLOEXEC) != 0;
        return doubles::libc::open.real(path, flags, mode);
    });
    doubles::libc::fchmod.stand_in([&all](int fd, mode_t mode) {
        all = all && (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
        return doubles::libc::fchmod.real(fd, mode);
    });
    EXPECT_TRUE(derived());
    EXPECT_TRUE(all);
    EXPECT_EQ(1u, doubles::libc::fchmod.calls());
}

TEST(DeviceKeyHolder, WipesTheKeyAtItsEnd) {
    alignas(device_key::Key) unsigned char place[sizeof(device_key::Key)];
    auto *key = new (place) device_key::Key;
    memset(key->bytes, 'k', sizeof(key->bytes));
    key->~Key();
    /* Read as the plain bytes that are left. */
    const volatile unsigned char *left = place;
    for (size_t i = 0; i < sizeof(place); ++i) {
        EXPECT_EQ(0, left[i]);
    }
}

}  // namespace
