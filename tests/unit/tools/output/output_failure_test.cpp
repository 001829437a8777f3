#include "output/output_failure.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/test_terminal.h"

namespace {

/* "CODE COMPLAINT" for a failed write, without the program's name. */
std::string report(int error) {
    testing::internal::CaptureStderr();
    const ExitCode code = output_failure(error);
    const std::string line = testing::internal::GetCapturedStderr();
    const size_t colon = line.find(": ");
    return std::to_string(static_cast<int>(code)) + " " +
           (colon == std::string::npos ? "" : line.substr(colon + 2));
}

/* Standard output is a pipe. */
class OutputFailure : public testing::Test {
  protected:
    OutputFailure() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
        reader_.reset(ends[0]);
        writer_.reset(ends[1]);
    }

    /* The report while the pipe is the output. */
    std::string report_on_pipe(int error) const {
        const Redirected output(STDOUT_FILENO, writer_.get());
        return report(error);
    }

    UniqueFd reader_;
    UniqueFd writer_;
};

TEST_F(OutputFailure, IsReportedWithItsCause) {
    EXPECT_EQ("1 can't write the output: No space left on device\n", report_on_pipe(ENOSPC));
}

TEST_F(OutputFailure, OfAReaderThatHasHadEnoughIsNone) {
    EXPECT_EQ("0 ", report_on_pipe(EPIPE));
}

TEST_F(OutputFailure, OfAReaderThatIsGoneIsNoneWhateverTheLastError) {
    reader_.reset();
    EXPECT_EQ("0 ", report_on_pipe(EIO));
}

}  // namespace
