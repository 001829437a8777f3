#include "device/text_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "support/file_info.h"
#include "support/wait_until.h"

namespace {

constexpr char kPath[] = "/tmp/text_file";

/* While it lives, no file gets longer than so many bytes. */
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        (void)std::signal(SIGXFSZ, SIG_IGN);
        EXPECT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &before_));
        const rlimit limit = {bytes, before_.rlim_max};
        EXPECT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
    }
    ~FileSizeLimit() { (void)::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

  private:
    rlimit before_ = {};
};

std::string write_above_limit() {
    const FileSizeLimit limit(10);
    return write_private_file(kPath, "more than ten bytes");
}

TEST(TextFile, ANewFileThatDoesNotFitIsRemoved) {
    (void)::unlink(kPath);
    EXPECT_EQ("can't write /tmp/text_file: File too large", write_above_limit());
    EXPECT_FALSE(file_exists(kPath));
}

TEST(TextFile, AFileThatWasThereStaysUntilTheNewOneIsWhole) {
    ASSERT_TRUE(write_text(kPath, "old"));
    EXPECT_EQ("can't write /tmp/text_file: File too large", write_above_limit());
    EXPECT_EQ("old", file_text(kPath));
    EXPECT_FALSE(file_exists(std::string(kPath) + ".part"));
}

class PrivateFile : public testing::Test {
  protected:
    PrivateFile() { clear(); }
    ~PrivateFile() override { clear(); }

    static constexpr char kPart[] = "/tmp/text_file.part";
    static constexpr char kOther[] = "/tmp/text_file.other";

    static void clear() {
        for (const char *path : {kPath, kPart, kOther}) {
            (void)::remove(path);
        }
    }

    static mode_t mode() { return mode_of(kPath); }
};

TEST_F(PrivateFile, IsReadableForItsOwnerOnlyWhateverWasThere) {
    ASSERT_TRUE(write_text(kPath, "old and longer"));
    ASSERT_EQ(0, ::chmod(kPath, 0666));
    EXPECT_EQ("", write_private_file(kPath, "new"));
    EXPECT_EQ("new", file_text(kPath));
    EXPECT_EQ(0600u, mode());
    EXPECT_FALSE(file_exists(kPart));
}

TEST_F(PrivateFile, IsHiddenFromWhoHoldsTheOldOneOpen) {
    ASSERT_TRUE(write_text(kPath, "old"));
    const int open = ::open(kPath, O_RDONLY | O_CLOEXEC);
    EXPECT_EQ("", write_private_file(kPath, "new"));
    char bytes[8] = "";
    EXPECT_EQ(3, ::read(open, bytes, sizeof(bytes)));
    EXPECT_STREQ("old", bytes);
    ::close(open);
}

TEST_F(PrivateFile, ReplacesWhatAKilledToolLeft) {
    ASSERT_TRUE(write_text(kPart, "left"));
    EXPECT_EQ("", write_private_file(kPath, "new"));
    EXPECT_EQ("new", file_text(kPath));
}

TEST_F(PrivateFile, FollowsNoLink) {
    ASSERT_TRUE(write_text(kOther, "other"));
    ASSERT_EQ(0, ::symlink(kOther, kPath));
    ASSERT_EQ(0, ::symlink(kOther, kPart));
    EXPECT_EQ("can't write /tmp/text_file: Too many levels of symbolic links",
              write_private_file(kPath, "new"));
    (void)::unlink(kPath);
    EXPECT_EQ("", write_private_file(kPath, "new"));
    EXPECT_EQ("other", file_text(kOther));
    EXPECT_EQ("new", file_text(kPath));
}

TEST_F(PrivateFile, IsNeitherPipeNorFolder) {
    ASSERT_EQ(0, ::mkfifo(kPath, 0600));
    const int reader = ::open(kPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ("can't write /tmp/text_file: Invalid argument", write_private_file(kPath, "new"));
    char byte = 0;
    EXPECT_EQ(0, ::read(reader, &byte, 1));
    ::close(reader);
    (void)::unlink(kPath);
    ASSERT_EQ(0, ::mkdir(kPath, 0700));
    EXPECT_EQ("can't write /tmp/text_file: Is a directory", write_private_file(kPath, "new"));
}

TEST_F(PrivateFile, MayBeADevice) {
    EXPECT_EQ("", write_private_file("/dev/null", "new"));
    struct stat info = {};
    ASSERT_EQ(0, ::lstat("/dev/null", &info));
    EXPECT_TRUE(S_ISCHR(info.st_mode));
    EXPECT_EQ("can't write /dev/full: No space left on device", write_private_file("/dev/full", "new"));
}

TEST_F(PrivateFile, DoesNothingToATerminal) {
    int terminal = -1;
    int device = -1;
    char name[64] = "";
    ASSERT_EQ(0, ::openpty(&terminal, &device, name, nullptr, nullptr));
    EXPECT_EQ("", write_private_file(name, "a=\033[2J\nb=2\n"));
    char bytes[64] = "";
    EXPECT_LT(0, ::read(terminal, bytes, sizeof(bytes) - 1));
    EXPECT_STREQ("a=\\x1b[2J\r\nb=2\r\n", bytes);
    ::close(device);
    ::close(terminal);
}

TEST_F(PrivateFile, NeedsAFolder) {
    EXPECT_EQ("can't write /no/file: No such file or directory", write_private_file("/no/file", "new"));
    EXPECT_EQ("can't write : No such file or directory", write_private_file("", "new"));
    const std::string path = "/tmp/" + std::string(251, 'n');
    EXPECT_EQ("can't write " + path + ": File name too long", write_private_file(path, "new"));
}

class CopiedFile : public testing::Test {
  protected:
    CopiedFile() : to_(::open(kCopy, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {}
    ~CopiedFile() override {
        ::close(to_);
        (void)::unlink(kCopy);
        (void)::unlink(kPath);
    }

    static constexpr char kCopy[] = "/tmp/text_file.copy";
    const int to_;
};

TEST_F(CopiedFile, HasEveryByte) {
    const std::string bytes(200000, '\0');
    ASSERT_TRUE(write_text(kPath, bytes));
    EXPECT_EQ("", copy_file(kPath, to_));
    EXPECT_TRUE(bytes == file_text(kCopy));
}

TEST_F(CopiedFile, IsOfAFileAndNothingElse) {
    EXPECT_EQ("can't read /no/file: No such file or directory", copy_file("/no/file", to_));
    EXPECT_EQ("can't read /tmp: Is a directory", copy_file("/tmp", to_));
    (void)::unlink(kPath);
    ASSERT_EQ(0, ::mkfifo(kPath, 0600));
    EXPECT_EQ("can't read /tmp/text_file: Invalid argument", copy_file(kPath, to_));
}

TEST_F(CopiedFile, ThatCanNotBeReadIsToldApartFromOneThatDoesNotFit) {
    EXPECT_EQ("can't read /proc/self/mem: Input/output error", copy_file("/proc/self/mem", to_));
    ASSERT_TRUE(write_text(kPath, "more than ten bytes"));
    const FileSizeLimit limit(10);
    EXPECT_EQ("can't copy /tmp/text_file: File too large", copy_file(kPath, to_));
}

}  // namespace
