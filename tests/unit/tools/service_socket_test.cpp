#include "service_socket.h"

#include <gtest/gtest.h>

#include "frwk_module.h"
#include "unit/frwk_common/test_peer.h"

namespace {

TEST(ServiceSocket, ALeftSocketIsServedByNobody) {
    TestListener listener("wlan");
    ASSERT_TRUE(listener.ok());
    EXPECT_TRUE(is_served(E_APPS_MODULE_WLAN));
    listener.stop();
    EXPECT_FALSE(is_served(E_APPS_MODULE_WLAN));
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
