/*
 * Shell actions on a path.
 */
#include "internal/shell.h"

#include <string>

#include "doubles/base_doubles.h"
#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"

namespace {

class Shell : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        doubles::base::os_system.stand_in([this](const char *command) {
            command_ = command;
            return 0;
        });
        doubles::libc::sync.stand_in([] {});
    }

    std::string command_;
};

}  // namespace

TEST_F(Shell, RunsTheCommandOnThePathAndSyncs) {
    shell_on_path("mkdir -p", "/tmp/m_tmp/lock");
    EXPECT_EQ("mkdir -p /tmp/m_tmp/lock", command_);
    EXPECT_EQ(1u, doubles::libc::sync.calls());
}

TEST_F(Shell, QuotesAPathThatAShellWouldTakeApart) {
    shell_on_path("touch", "/tmp/m_tmp/a b;c");
    EXPECT_EQ("touch '/tmp/m_tmp/a b;c'", command_);
}

TEST_F(Shell, RunsNothingOnACutPath) {
    const LogCapture log;
    shell_on_path("rm -f", std::string(512, 'x').c_str());
    EXPECT_EQ("", command_);
    EXPECT_EQ(0u, doubles::libc::sync.calls());
    EXPECT_EQ(1u, log.count("'rm -f' not run: the path is too long")) << log.text();
}
