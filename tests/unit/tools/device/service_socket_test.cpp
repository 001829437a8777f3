#include "device/service_socket.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "frwk_module.h"
#include "support/other_user.h"
#include "support/unprivileged.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace {

TEST(ServiceSocket, ALeftSocketIsServedByNobody) {
    TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    EXPECT_TRUE(is_served(E_APPS_MODULE_WLAN));
    EXPECT_FALSE(is_forbidden(E_APPS_MODULE_WLAN));
    EXPECT_EQ(::getpid(), serving_process(E_APPS_MODULE_WLAN));
    listener.stop();
    EXPECT_FALSE(is_served(E_APPS_MODULE_WLAN));
    EXPECT_EQ(0, serving_process(E_APPS_MODULE_WLAN));
}

TEST(ServiceSocket, AModuleWhoseQueueIsFullIsThere) {
    const TestListener listener("wlan", 0);
    ASSERT_TRUE(listener.ok());
    const int waiting = connect_to("wlan", SOCK_NONBLOCK);
    ASSERT_GE(waiting, 0);
    EXPECT_EQ(-1, connect_to("wlan", SOCK_NONBLOCK)) << "there is room";
    EXPECT_TRUE(is_served(E_APPS_MODULE_WLAN));
    (void)close(waiting);
}

// ---- what keeps others from it ----

namespace fs = std::filesystem;

std::string absence() {
    return absence_words(E_APPS_MODULE_WLAN);
}

/* What is said of a socket or folder of the test's own that nobody may use. */
std::string closed(const std::string &path) {
    const passwd *entry = ::getpwuid(::geteuid());
    const std::string owner = entry != nullptr ? entry->pw_name : std::to_string(::geteuid());
    return "can't be reached: no access to " + path + " (owner " + owner + ", mode 0000; try 'chmod u+rwX " +
           path + "')";
}

TEST(ServiceSocket, AMissingSocketIsThatOfAModuleThatDoesNotRun) {
    remove_service_socket(E_APPS_MODULE_WLAN);
    EXPECT_EQ("is not running", absence());
}

TEST(ServiceSocket, ALeftSocketIsThatOfAModuleThatDoesNotRunAnyMore) {
    TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    listener.stop();
    EXPECT_EQ("is not running any more: nobody listens on its socket", absence());
}

TEST(ServiceSocket, AFullQueueIsThatOfAModuleThatIsBusy) {
    const TestListener listener("wlan", 0);
    ASSERT_TRUE(listener.ok());
    const int waiting = connect_to("wlan", SOCK_NONBLOCK);
    ASSERT_GE(waiting, 0);
    EXPECT_EQ("is busy: its queue of requests is full", absence());
    (void)close(waiting);
}

TEST(ServiceSocket, ASocketThatMayNotBeUsedIsNamedWithItsOwnerAndMode) {
    const TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    fs::permissions("/tmp/m_tmp/ipc/wlan", fs::perms::none);
    const ModesHold unprivileged;
    EXPECT_EQ(closed("/tmp/m_tmp/ipc/wlan"), absence());
}

TEST(ServiceSocket, AFolderThatMayNotBeSearchedIsNamedWithItsOwnerAndMode) {
    const TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    const ModesHold unprivileged;
    fs::permissions("/tmp/m_tmp/ipc", fs::perms::none);
    EXPECT_EQ(closed("/tmp/m_tmp/ipc"), absence());
    fs::permissions("/tmp/m_tmp/ipc", fs::perms::owner_all);
}

using ServiceSocketByAnotherUser = ByAnotherUser<testing::Test>;

TEST_F(ServiceSocketByAnotherUser, AnOwnerWithoutANameIsANumber) {
    const TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    ASSERT_EQ(0, ::chown("/tmp/m_tmp/ipc/wlan", kOtherUser, static_cast<gid_t>(-1)));
    fs::permissions("/tmp/m_tmp/ipc/wlan", fs::perms::owner_all);
    const ModesHold unprivileged;
    EXPECT_TRUE(is_forbidden(E_APPS_MODULE_WLAN));
    EXPECT_EQ(std::string("can't be reached: no access to /tmp/m_tmp/ipc/wlan (owner 60001, mode 0700; ") +
                  "try 'sudo -u 60001 " + program_invocation_short_name + "')",
              absence());
}

TEST(ServiceSocket, AnyOtherCauseIsGivenInTheSystemsWords) {
    make_ipc_folder();
    fs::rename("/tmp/m_tmp/ipc", "/tmp/m_tmp/ipc.aside");
    std::ofstream("/tmp/m_tmp/ipc") << "no folder";
    EXPECT_EQ("can't be reached: Not a directory", absence());
    fs::remove("/tmp/m_tmp/ipc");
    fs::rename("/tmp/m_tmp/ipc.aside", "/tmp/m_tmp/ipc");
}

TEST(ServiceSocket, AModuleThatListensNowCouldNotBeAskedBefore) {
    const TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    EXPECT_EQ("could not be asked, but listens now", absence());
}

TEST(ServiceSocket, NobodyIsWaitedForWhereNobodyAnswers) {
    const SignalWatch watch;
    remove_service_socket(E_APPS_MODULE_WLAN);
    wait_for_last_answer(E_APPS_MODULE_WLAN, watch);
    EXPECT_EQ(0, SignalWatch::caught());
    EXPECT_FALSE(is_served(E_APPS_MODULE_WLAN));
}

TEST(ServiceSocket, CtrlCEndsTheWaitForTheLastAnswer) {
    const TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    const SignalWatch watch;
    ASSERT_EQ(0, std::raise(SIGINT));
    wait_for_last_answer(E_APPS_MODULE_WLAN, watch);
    EXPECT_EQ(SIGINT, SignalWatch::caught());
    EXPECT_TRUE(listener.has_connection());
}

}  // namespace
