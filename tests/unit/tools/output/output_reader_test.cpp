#include "output/output_reader.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/test_terminal.h"

namespace {

/* A pipe as standard output. */
class OutputReader : public testing::Test {
  protected:
    OutputReader() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
        reader_.reset(ends[0]);
        writer_.reset(ends[1]);
    }

    bool has_left(int error) const {
        const Redirected output(STDOUT_FILENO, writer_.get());
        return has_reader_left(error);
    }

    UniqueFd reader_;

  private:
    UniqueFd writer_;
};

TEST_F(OutputReader, IsThereWhileItsEndOfThePipeIsOpen) {
    EXPECT_FALSE(has_left(0));
    EXPECT_FALSE(has_left(ENOSPC));
}

TEST_F(OutputReader, HasLeftWhenTheWriteSaysSo) {
    EXPECT_TRUE(has_left(EPIPE));
}

TEST_F(OutputReader, HasLeftAClosedPipeWhateverTheError) {
    reader_.reset();
    EXPECT_TRUE(has_left(0));
    EXPECT_TRUE(has_left(EIO));
}

TEST_F(OutputReader, OfAFileNeverLeaves) {
    const UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    const Redirected output(STDOUT_FILENO, full.get());
    EXPECT_FALSE(has_reader_left(ENOSPC));
}

}  // namespace
