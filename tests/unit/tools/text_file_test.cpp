#include "text_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

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

TEST(TextFile, AFileThatWasThereIsNotRemoved) {
    ASSERT_TRUE(write_text(kPath, "old"));
    EXPECT_EQ("can't write /tmp/text_file: File too large", write_above_limit());
    EXPECT_EQ("more than ", file_text(kPath));
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
