#include "text_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

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

}  // namespace
