/*
 * The trace line of each message, and the messages that don't go to the system log.
 */
#include "frwk_common/ipc/transport/ipc_trace.h"

#include "doubles/base_doubles.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace {

class IpcTraceTest : public ModuleTest {
  protected:
    LogCapture log_;
};

constexpr int32_t kQuietMessages[] = {6, 7, 8, 2001, 2002, 4018, 4021};

}  // namespace

TEST_F(IpcTraceTest, ShowsAnAnsweredMessageWithADoubleArrow) {
    ipc::trace(ipc::Way::kAnswered, -1, 5, 5001);
    EXPECT_TRUE(logged_once(log_, kDebugLevel,
                            "#### [ROUTER]==>[WLAN]::[E_APPS_MSG_WLAN_SET_FEATURE_PARAMS:5001] ####"));
}

TEST_F(IpcTraceTest, ShowsAOneWayMessageWithASingleArrow) {
    ipc::trace(ipc::Way::kOneWay, -1, 1, 1001);
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "#### [ROUTER]-->[MONITOR]::[E_APPS_MSG_MONITOR_REBOOT:1001] ####"));
}

TEST_F(IpcTraceTest, ShowsAliasesNotNames) {
    ipc::trace(ipc::Way::kAnswered, 17, 14, 0);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "#### [WEBS]==>[NTP]::[E_APPS_MSG_MIN:0] ####"));
}

TEST_F(IpcTraceTest, ShowsAnIdOutsideTheTableAsTheCallingModule) {
    ipc::trace(ipc::Way::kAnswered, 1000, -1, 0);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "#### [ROUTER]==>[ROUTER]::[E_APPS_MSG_MIN:0] ####"));
}

TEST_F(IpcTraceTest, SurvivesASenderInAnEmptySlot) {
    ipc::trace(ipc::Way::kAnswered, 40, -1, 0);
    EXPECT_EQ(log_.count("]==>[ROUTER]::[E_APPS_MSG_MIN:0] ####"), 1u) << log_.text();
}

TEST_F(IpcTraceTest, ShowsUnknownMessagesByNumber) {
    ipc::trace(ipc::Way::kAnswered, -1, 5, 999999);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "#### [ROUTER]==>[WLAN]::[unknown:999999] ####"));
    ipc::trace(ipc::Way::kAnswered, -1, 5, -3);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "#### [ROUTER]==>[WLAN]::[unknown:-3] ####"));
}

TEST_F(IpcTraceTest, ShowsAMessageThatTheBaseLibraryHasNoWordFor) {
    doubles::base::zn_enum_to_string.stand_in(
        [](const zn_enum_item *, uint32_t, int32_t) -> const char * { return nullptr; });
    ipc::trace(ipc::Way::kAnswered, -1, 5, 5056);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "#### [ROUTER]==>[WLAN]::[unknown:5056] ####"));
}

TEST_F(IpcTraceTest, KeepsQuietMessagesOutOfTheSystemLog) {
    for (const int32_t msgid : kQuietMessages) {
        log_.clear();
        ipc::trace(ipc::Way::kAnswered, -1, 2, msgid);
        ipc::trace(ipc::Way::kOneWay, -1, 2, msgid);
        EXPECT_EQ(log_.debug_lines().size(), 2u) << msgid;
        EXPECT_EQ(log_.system_lines().size(), 0u) << msgid;
    }
}

TEST_F(IpcTraceTest, GivesOtherMessagesToTheSystemLogAboveLevelSix) {
    g_syslog_level = 7;
    ipc::trace(ipc::Way::kAnswered, -1, 2, 2003);
    EXPECT_EQ(log_.system_lines().size(), 1u);
}

TEST_F(IpcTraceTest, KeepsEveryMessageOutOfTheSystemLogAtLevelSix) {
    g_syslog_level = 6;
    ipc::trace(ipc::Way::kAnswered, -1, 2, 2003);
    EXPECT_EQ(log_.system_lines().size(), 0u);
    EXPECT_EQ(log_.debug_lines().size(), 1u);
}

TEST_F(IpcTraceTest, WritesNothingToADebugChannelThatIsOff) {
    g_debug_log_enable = 0;
    ipc::trace(ipc::Way::kAnswered, -1, 2, 2002);
    ipc::trace(ipc::Way::kAnswered, -1, 2, 2003);
    EXPECT_EQ(log_.debug_lines().size(), 0u);
    EXPECT_EQ(log_.system_lines().size(), 1u);
}

TEST(IpcMsgDebug, IsTrueForTheSevenFrequentPolls) {
    for (const int32_t msgid : kQuietMessages) {
        EXPECT_EQ(frwk_ipc_msg_debug(msgid), 1) << msgid;
    }
}

TEST(IpcMsgDebug, IsFalseForTheirNeighbours) {
    for (const int32_t msgid : {2000, 2003, 4017, 4019, 4020, 4022, 5, 9}) {
        EXPECT_EQ(frwk_ipc_msg_debug(msgid), 0) << msgid;
    }
}

TEST(IpcMsgDebug, IsTrueForNoOtherMessage) {
    int32_t quiet = frwk_ipc_msg_debug(INT32_MIN) + frwk_ipc_msg_debug(INT32_MAX);
    for (int32_t msgid = -1000; msgid <= 70000; ++msgid) {
        quiet += frwk_ipc_msg_debug(msgid);
    }
    EXPECT_EQ(quiet, 7);
}
