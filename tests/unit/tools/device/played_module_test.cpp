#include "device/played_module.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "frwk_module.h"
#include "support/unprivileged.h"
#include "support/wait_until.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace {

namespace fs = std::filesystem;

class PlayedModule : public testing::Test {
  protected:
    PlayedModule() {
        make_ipc_folder();
        fs::create_directories("/tmp/m_tmp/lock");
        fs::remove("/tmp/m_tmp/lock/wlan");
    }
    ~PlayedModule() override {
        for (const char *folder : {"/tmp/m_tmp/ipc", "/tmp/m_tmp/lock"}) {
            fs::permissions(folder, fs::perms::owner_all);
        }
    }

    static std::string beginning(const std::string &text) { return text.substr(0, text.find(" (")); }
};

TEST_F(PlayedModule, IsNotOneThatAnotherProcessServes) {
    fs::remove("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ("", running_words(E_APPS_MODULE_WLAN));
    const TestListener listener("wlan");
    EXPECT_EQ("wlan is running (pid " + std::to_string(::getpid()) + ")", running_words(E_APPS_MODULE_WLAN));
}

TEST_F(PlayedModule, NeedsNoMoreThanItsLockAndItsSocket) {
    EXPECT_EQ("", missing_right(E_APPS_MODULE_WLAN));
}

TEST_F(PlayedModule, NeedsTheRightToMakeItsSocket) {
    fs::permissions("/tmp/m_tmp/ipc", fs::perms::owner_read | fs::perms::owner_exec);
    const ModesHold unprivileged;
    EXPECT_EQ("no access to /tmp/m_tmp/ipc", beginning(missing_right(E_APPS_MODULE_WLAN)));
}

TEST_F(PlayedModule, NeedsTheRightToMakeItsLock) {
    fs::permissions("/tmp/m_tmp/lock", fs::perms::owner_read | fs::perms::owner_exec);
    const ModesHold unprivileged;
    EXPECT_EQ("no access to /tmp/m_tmp/lock", beginning(missing_right(E_APPS_MODULE_WLAN)));
}

/* A lock is written to, so the right to replace it is not enough. */
TEST_F(PlayedModule, NeedsTheRightToWriteALockThatIsThere) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock/wlan", ""));
    fs::permissions("/tmp/m_tmp/lock/wlan", fs::perms::owner_read);
    const ModesHold unprivileged;
    EXPECT_EQ("no access to /tmp/m_tmp/lock/wlan", beginning(missing_right(E_APPS_MODULE_WLAN)));
}

TEST_F(PlayedModule, NeedsNoRightToReplaceALockThatIsThere) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock/wlan", ""));
    fs::permissions("/tmp/m_tmp/lock", fs::perms::owner_read | fs::perms::owner_exec);
    const ModesHold unprivileged;
    EXPECT_EQ("", missing_right(E_APPS_MODULE_WLAN));
}

}  // namespace
