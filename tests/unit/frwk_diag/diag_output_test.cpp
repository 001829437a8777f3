/*
 * The file of a tool's output: what is made of it, and each way to fail.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "os_process.h"
#include "unit/frwk_diag/diag_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class DiagOutput : public DiagTest {};

/* Leaves an output as the base library stops it. */
int leave_stopped_output(const char *) {
    write_file(kPingFile, "");
    return truncate(kPingFile, OS_COMMAND_FILE_MAX);
}

}  // namespace

TEST_F(DiagOutput, AMissingOutputIsReported) {
    prints_ = false;
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("open diag log file error!", ENOENT)));
    EXPECT_EQ(nullptr, context_.fp);
    EXPECT_STREQ(kPingFile, context_.path);
}

TEST_F(DiagOutput, WithoutItsFileNothingIsRun) {
    libc::open.fail(EMFILE);
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("open diag log file error!", EMFILE)));
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(DiagOutput, AFileThatCanNotBeMarkedIsReported) {
    libc::ftruncate.fail(EIO);
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("open diag log file error!", EIO)));
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(DiagOutput, AnOutputWithoutAStreamIsReported) {
    libc::fdopen.fail(ENOMEM);
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("open diag log file error!", ENOMEM)));
    EXPECT_EQ(nullptr, context_.fp);
}

TEST_F(DiagOutput, AnOutputThatIsGoneIsReported) {
    base::os_system.stand_in([](const char *) { return unlink(kPingFile); });
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("open diag log file error!", ENOENT)));
}

TEST_F(DiagOutput, AStoppedOutputSaysSoAtItsEnd) {
    base::os_system.stand_in(leave_stopped_output);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("\n(the output was stopped at 16 MiB)\n", context_.buf.data + OS_COMMAND_FILE_MAX);
    EXPECT_EQ(context_.buf.length, read_file(kPingFile).size());
}

TEST_F(DiagOutput, AStoppedOutputThatCanNotSaySoIsLoggedAndGiven) {
    base::os_system.stand_in(leave_stopped_output);
    libc::pwrite.fail(EIO);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_diag_exec",
                            with_errno("mark a stopped diag output error!", EIO)));
    EXPECT_EQ(static_cast<uint32_t>(OS_COMMAND_FILE_MAX), context_.buf.length);
}

TEST_F(DiagOutput, AStoppedOutputWithoutRoomToSaySoIsLogged) {
    base::os_system.stand_in(leave_stopped_output);
    libc::pwrite.stand_in(
        [](int fd, const void *text, size_t, off_t at) { return libc::pwrite.real(fd, text, 5, at); });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_diag_exec",
                            with_errno("mark a stopped diag output error!", ENOSPC)));
}

TEST_F(DiagOutput, TheOutputFileIsClosedOnExec) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(context_.fp), F_GETFD));
}
