/*
 * Values in small files.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <iterator>
#include <string>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "frwk_common_ex.h"
#include "recorded_sleeps.h"
#include "support/open_descriptors.h"

namespace {

constexpr char kPath[] = "/m_data/usr/value";
constexpr char kMissingFolder[] = "/m_data/usr/no_such_folder/value";

class FileValue : public RecordedSleeps {
  protected:
    ~FileValue() override { ::unlink(kPath); }

    static void write_file(const std::string &content) {
        std::ofstream(kPath, std::ios::binary | std::ios::trunc) << content;
    }

    static std::string file_content() {
        std::ifstream file(kPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    LogCapture log_;
};

TEST_F(FileValue, WhatIsSetIsInTheFile) {
    EXPECT_EQ(0, frwk_set_file_value(kPath, "1\n", 2));
    EXPECT_EQ("1\n", file_content());
    EXPECT_EQ("", log_.text());
}

TEST_F(FileValue, ANewFileHasMode0666LessTheUmask) {
    const mode_t before = ::umask(027);
    EXPECT_EQ(0, frwk_set_file_value(kPath, "1", 1));
    ::umask(before);

    struct stat info {};
    ASSERT_EQ(0, ::stat(kPath, &info));
    EXPECT_EQ(0640u, info.st_mode & 0777u);
}

TEST_F(FileValue, ALongerOldContentIsGone) {
    write_file("a long old value");
    EXPECT_EQ(0, frwk_set_file_value(kPath, "new", 3));
    EXPECT_EQ("new", file_content());
}

TEST_F(FileValue, AnyBytesMayBeSet) {
    EXPECT_EQ(0, frwk_set_file_value(kPath, "a\0b\n", 4));
    EXPECT_EQ(std::string("a\0b\n", 4), file_content());
}

TEST_F(FileValue, SettingNoBytesEmptiesTheFile) {
    write_file("old");
    EXPECT_EQ(0, frwk_set_file_value(kPath, nullptr, 0));
    EXPECT_EQ("", file_content());
}

TEST_F(FileValue, BadArgumentsAreRefusedAndTheFileStays) {
    write_file("old");
    EXPECT_EQ(-1, frwk_set_file_value(nullptr, "1", 1));
    EXPECT_EQ(-1, frwk_set_file_value(kPath, nullptr, 1));
    EXPECT_EQ(-1, frwk_set_file_value(kPath, "1", -1));
    EXPECT_EQ(-1, frwk_set_file_value(kPath, "1", INT_MIN));
    EXPECT_EQ("old", file_content());
}

TEST_F(FileValue, AFileThatCanNotBeOpenedForSettingIsLogged) {
    EXPECT_EQ(-1, frwk_set_file_value(kMissingFolder, "1", 1));
    EXPECT_EQ(1u, log_.count("open /m_data/usr/no_such_folder/value fialed!")) << log_.text();
    EXPECT_EQ(OS_LOG_WARNING, log_.debug_lines().at(0).level);
}

TEST_F(FileValue, AFullDeviceFailsASet) {
    EXPECT_EQ(-1, frwk_set_file_value("/dev/full", "12345", 5));
    EXPECT_EQ(1u, log_.count("write /dev/full fialed! ret is -1, value len is 5, errno is 28"))
        << log_.text();
}

TEST_F(FileValue, AShortWriteFailsASet) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t) {
        errno = EAGAIN;
        return doubles::libc::write.real(fd, data, 2);
    });
    EXPECT_EQ(-1, frwk_set_file_value(kPath, "12345", 5));
    EXPECT_EQ(1u, doubles::libc::write.calls());
    EXPECT_TRUE(log_.contains("write /m_data/usr/value fialed! ret is 2, value len is 5")) << log_.text();
}

TEST_F(FileValue, AnInterruptedWriteIsRepeated) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() <= 2) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::write.real(fd, data, size);
    });
    EXPECT_EQ(0, frwk_set_file_value(kPath, "123", 3));
    EXPECT_EQ("123", file_content());
}

TEST_F(FileValue, GetsTheBeginningOfAFileWithoutATerminator) {
    write_file("12345");
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(0, frwk_get_file_value(kPath, buffer, 3));
    EXPECT_EQ("123#", std::string(buffer, 4));
}

TEST_F(FileValue, AShortFileLeavesTheRestOfTheBufferAlone) {
    write_file("1");
    char buffer[3] = {'#', '#', '#'};
    EXPECT_EQ(0, frwk_get_file_value(kPath, buffer, 3));
    EXPECT_EQ("1##", std::string(buffer, 3));
}

TEST_F(FileValue, AnEmptyFileGivesNoValue) {
    write_file("");
    char buffer[4];
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, 4));
    EXPECT_EQ(1u, log_.count("read /m_data/usr/value fialed! ret is 0, errno is 0")) << log_.text();
}

TEST_F(FileValue, AMissingFileGivesNoValueAndIsNotMade) {
    char buffer[4];
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, 4));
    EXPECT_EQ(1u, log_.count("open /m_data/usr/value fialed!")) << log_.text();
    EXPECT_NE(0, ::access(kPath, F_OK));
}

TEST_F(FileValue, AFileIsOpenedForBothWaysEvenToGet) {
    int flags = 0;
    doubles::libc::open.stand_in([&flags](const char *path, int given, mode_t mode) {
        flags = given;
        return doubles::libc::open.real(path, given, mode);
    });
    write_file("1");
    char buffer[1];
    EXPECT_EQ(0, frwk_get_file_value(kPath, buffer, 1));
    EXPECT_EQ(O_RDWR, flags & O_ACCMODE);
    EXPECT_EQ(O_CLOEXEC, flags & O_CLOEXEC);
}

/* A program that runs may be read but not written, whoever asks. */
TEST_F(FileValue, AFileThatMayOnlyBeReadGivesNoValue) {
    char buffer[4];
    EXPECT_EQ(-1, frwk_get_file_value("/proc/self/exe", buffer, 4));
    EXPECT_EQ(1u, log_.count("open /proc/self/exe fialed!")) << log_.text();
}

TEST_F(FileValue, AFailedReadIsLogged) {
    write_file("1");
    doubles::libc::read.fail(EIO);
    char buffer[4];
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, 4));
    EXPECT_EQ(1u, log_.count("read /m_data/usr/value fialed! ret is -1, errno is 5")) << log_.text();
}

TEST_F(FileValue, AnInterruptedReadIsRepeated) {
    write_file("123");
    doubles::libc::read.stand_in([](int fd, void *buffer, size_t size) -> ssize_t {
        if (doubles::libc::read.calls() <= 2) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, buffer, size);
    });
    char buffer[4] = "";
    EXPECT_EQ(0, frwk_get_file_value(kPath, buffer, 3));
    EXPECT_STREQ("123", buffer);
}

TEST_F(FileValue, BadArgumentsGiveNoValue) {
    write_file("1");
    char buffer[1];
    EXPECT_EQ(-1, frwk_get_file_value(nullptr, buffer, 1));
    EXPECT_EQ(-1, frwk_get_file_value(kPath, nullptr, 1));
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, 0));
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, -1));
    EXPECT_EQ(-1, frwk_get_file_value(kPath, buffer, INT_MIN));
}

TEST_F(FileValue, DescriptorZeroIsAFailureToOpen) {
    bool closed_zero = false;
    doubles::libc::open.stand_in([](const char *, int, mode_t) { return 0; });
    doubles::libc::close.stand_in([&closed_zero](int fd) {
        closed_zero = closed_zero || fd == 0;
        return 0;
    });
    char buffer[1];
    const int32_t set = frwk_set_file_value(kPath, "1", 1);
    const int32_t get = frwk_get_file_value(kPath, buffer, 1);
    doubles::libc::close.restore();

    EXPECT_EQ(-1, set);
    EXPECT_EQ(-1, get);
    EXPECT_TRUE(closed_zero);
    EXPECT_EQ(2u, log_.count("open /m_data/usr/value fialed!")) << log_.text();
}

TEST_F(FileValue, NoDescriptorStaysOpen) {
    const size_t before = open_descriptors();
    char buffer[4];
    frwk_set_file_value(kPath, "1", 1);
    frwk_get_file_value(kPath, buffer, 4);
    frwk_set_file_value("/dev/full", "1", 1);
    frwk_set_file_value(kPath, nullptr, 0);
    frwk_get_file_value(kPath, buffer, 4);
    EXPECT_EQ(before, open_descriptors());
}

class FileValueWithRetries : public FileValue {};

TEST_F(FileValueWithRetries, ASuccessIsNotRepeated) {
    char buffer[2] = "";
    EXPECT_EQ(0, frwk_set_file_value_ex(kPath, "1", 1));
    EXPECT_EQ(0, frwk_get_file_value_ex(kPath, buffer, 1));
    EXPECT_STREQ("1", buffer);
    EXPECT_TRUE(pauses_ms_.empty());
    EXPECT_EQ("", log_.text());
}

TEST_F(FileValueWithRetries, BadArgumentsAreRefusedAtOnce) {
    char buffer[1];
    EXPECT_EQ(-1, frwk_set_file_value_ex(nullptr, "1", 1));
    EXPECT_EQ(-1, frwk_set_file_value_ex(kPath, nullptr, 1));
    EXPECT_EQ(-1, frwk_set_file_value_ex(kPath, "1", 0));
    EXPECT_EQ(-1, frwk_set_file_value_ex(kPath, "1", -1));
    EXPECT_EQ(-1, frwk_get_file_value_ex(nullptr, buffer, 1));
    EXPECT_EQ(-1, frwk_get_file_value_ex(kPath, nullptr, 1));
    EXPECT_EQ(-1, frwk_get_file_value_ex(kPath, buffer, 0));
    EXPECT_EQ(-1, frwk_get_file_value_ex(kPath, buffer, -1));
    EXPECT_TRUE(pauses_ms_.empty());
    EXPECT_EQ("", log_.text());
}

TEST_F(FileValueWithRetries, ASetGivesUpAfterElevenAttempts) {
    EXPECT_EQ(-1, frwk_set_file_value_ex(kMissingFolder, "1", 1));
    EXPECT_EQ(half_seconds(10), pauses_ms_);
    EXPECT_EQ(11u, log_.count("open /m_data/usr/no_such_folder/value fialed!")) << log_.text();
    EXPECT_EQ(10u, log_.count("write /m_data/usr/no_such_folder/value failed :No such file or directory, "
                              "sleep 500ms\n"))
        << log_.text();
}

TEST_F(FileValueWithRetries, AGetGivesUpAfterElevenAttemptsAndLogsTheSameText) {
    char buffer[1];
    EXPECT_EQ(-1, frwk_get_file_value_ex(kPath, buffer, 1));
    EXPECT_EQ(half_seconds(10), pauses_ms_);
    EXPECT_EQ(11u, log_.count("open /m_data/usr/value fialed!")) << log_.text();
    EXPECT_EQ(10u, log_.count("write /m_data/usr/value failed :No such file or directory, sleep 500ms\n"));
}

TEST_F(FileValueWithRetries, TheLastAttemptMaySucceed) {
    doubles::base::os_msleep.stand_in([this](uint32_t ms) {
        pauses_ms_.push_back(ms);
        if (pauses_ms_.size() == 10) {
            write_file("7");
        }
    });
    char buffer[2] = "";
    EXPECT_EQ(0, frwk_get_file_value_ex(kPath, buffer, 1));
    EXPECT_STREQ("7", buffer);
    EXPECT_EQ(half_seconds(10), pauses_ms_);
}

TEST_F(FileValueWithRetries, AFailedWriteIsRepeatedUntilItSucceeds) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
        if (doubles::libc::write.calls() <= 2) {
            errno = ENOSPC;
            return -1;
        }
        return doubles::libc::write.real(fd, data, size);
    });
    EXPECT_EQ(0, frwk_set_file_value_ex(kPath, "1", 1));
    EXPECT_EQ(half_seconds(2), pauses_ms_);
    EXPECT_EQ(2u, log_.count("write /m_data/usr/value failed :No space left on device, sleep 500ms\n"))
        << log_.text();
}

}  // namespace
