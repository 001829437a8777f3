/*
 * The reboot reason and the reset flag from one process to the next.
 */
#include <unistd.h>

#include <string>

#include "support/wait_until.h"
#include "system/probes/probe_process.h"

namespace {

class RestartFiles : public ProbeTest {
  protected:
    RestartFiles() {
        (void)unlink("/m_data/usr_permanent/reboot_reason");
        (void)unlink("/m_data/usr_permanent/reset_flag");
    }
};

}  // namespace

TEST_F(RestartFiles, AReasonIsReadByALaterProcess) {
    EXPECT_EQ("0", ask({"reason"}));
    EXPECT_EQ("0", ask({"save-reason", "-5"}));
    EXPECT_EQ("-5", file_text("/m_data/usr_permanent/reboot_reason"));
    EXPECT_EQ("-5", ask({"reason"}));
    EXPECT_EQ("0", ask({"save-reason", "2147483647"}));
    EXPECT_EQ("2147483647", ask({"reason"}));
}

TEST_F(RestartFiles, AResetIsPendingUntilItIsCompleted) {
    EXPECT_EQ("0", ask({"reset-flag"}));
    EXPECT_EQ("0", ask({"reset"})) << "there is no monitor to tell";
    EXPECT_EQ("1", ask({"reset-flag"}));
    EXPECT_EQ("done", ask({"complete-reset"}));
    EXPECT_EQ("0", ask({"reset-flag"}));
    EXPECT_EQ("done", ask({"complete-reset"}));
}
