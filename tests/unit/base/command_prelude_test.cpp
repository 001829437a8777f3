/*
 * The umask and file limit of commands, whatever the module's umask, and the shell that sets them.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"
#include "unit/base/command_output.h"

namespace {

class CommandPrelude : public FaultsTest {
  protected:
    ~CommandPrelude() override { umask(before_); }

    /* The shell of a command, as the kernel shows it. */
    static std::string shell() { return output_of("tr '\\0' '|' < /proc/$$/cmdline; echo"); }

    const TempFolder folder_;

  private:
    const mode_t before_ = umask(022);
};

constexpr char kPlainShell[] = "sh|-c|tr '\\0' '|' < /proc/$$/cmdline; echo|\n";
constexpr char kPreparedShell[] = "/bin/sh|-c|tr '\\0' '|' < /proc/$$/cmdline; echo|sh|\n";

}  // namespace

TEST_F(CommandPrelude, ACommandMakesNoFileThatOthersCanWriteTo) {
    const struct {
        mode_t before;
        const char *seen;
    } cases[] = {{0, "0022\n"},   {002, "0022\n"}, {020, "0022\n"},
                 {022, "0022\n"}, {027, "0027\n"}, {077, "0077\n"}};
    for (const auto &each : cases) {
        umask(each.before);
        EXPECT_EQ(each.seen, output_of("umask"));
        EXPECT_EQ(each.before, umask(each.before)) << "the process's own";
    }
}

TEST_F(CommandPrelude, WithASafeUmaskTheShellRunsTheTextAtOnce) {
    EXPECT_EQ(kPlainShell, shell());
}

TEST_F(CommandPrelude, AShellThatHasToBePreparedBecomesTheCommandsOwn) {
    umask(0);
    EXPECT_EQ(kPreparedShell, shell());
    EXPECT_EQ("sh 0\n", output_of("echo $0 $#"));
    EXPECT_EQ(7 << 8, os_system("exit 7"));
    EXPECT_EQ(SIGKILL, os_system("kill -9 $$"));
}

TEST_F(CommandPrelude, AShellIsPreparedWhereTheUmaskIsUnknown) {
    doubles::libc::open.stand_in([](const char *path, int flags, mode_t mode) {
        if (std::string(path) == "/proc/thread-self/status") {
            errno = EMFILE;
            return -1;
        }
        return doubles::libc::open.real(path, flags, mode);
    });
    EXPECT_EQ(kPreparedShell, shell());
}

TEST_F(CommandPrelude, AFileOfACommandInAScopeEndsAt16Mebibytes) {
    const std::string path = folder_.path("large");
    os_command_scope_open();
    EXPECT_EQ(SIGXFSZ, os_system(("exec head -c 20000000 /dev/zero > " + path).c_str()));
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_EQ(static_cast<uintmax_t>(OS_COMMAND_FILE_MAX), std::filesystem::file_size(path));

    os_command_scope_open();
    EXPECT_NE(0, os_system(("trap '' XFSZ; head -c 20000000 /dev/zero > " + path + " 2>&1").c_str()));
    EXPECT_EQ(0, os_command_scope_close());
    EXPECT_EQ(static_cast<uintmax_t>(OS_COMMAND_FILE_MAX), std::filesystem::file_size(path));

    EXPECT_EQ(0, os_system(("exec head -c 20000000 /dev/zero > " + path).c_str()));
    EXPECT_EQ(20000000u, std::filesystem::file_size(path));
}
