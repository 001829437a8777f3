/*
 * Reading the SIM's data from the modem: number of requests, pauses, and the use of the answers.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "frwk_utils/sim/sim_subnet.h"
#include "unit/frwk_utils/sim/subnet_fixture.h"

namespace {

constexpr char kCall[] = "frwk_sim_subnet_get_sim_info";
constexpr int32_t kRunTime = 0;
constexpr int32_t kBoot = 1;

const ModemPoll kUsable = {MAL_NO_ERR, MAL_SIM_STATUS_USABLE};
const ModemPoll kNotReady = {MAL_NO_ERR, MAL_SIM_STATUS_NOT_READY};
const ModemPoll kPin = {MAL_NO_ERR, MAL_SIM_STATUS_PIN};
const ModemPoll kFailed = {MAL_FAILURE_ERR, 99};

class SubnetSimInfo : public SubnetTest {
  protected:
    static sim::SimInfo ask(int32_t type = kBoot) {
        timeline().clear();
        sim::SimInfo info = {};
        sim::read_sim_info(type, &info);
        return info;
    }

    static sim::SimInfo ask_after(const std::vector<ModemPoll> &polls, int32_t type = kBoot) {
        fake_modem().polls = polls;
        return ask(type);
    }

    static size_t polls() { return count_events("modem status 1"); }

    /* Nothing but the state was asked for. */
    static bool asked_for_the_state_only() {
        return std::all_of(timeline().begin(), timeline().end(), [](const std::string &event) {
            return event == "modem status 1" || event.rfind("sleep ", 0) == 0;
        });
    }
};

std::string poll_line(int ret, int count, int status) {
    return "libmal_get_sim_status ret:" + std::to_string(ret) + ", count:" + std::to_string(count) +
           ", sim_status=" + std::to_string(status);
}

}  // namespace

/* ---- The state ------------------------------------------------------------------------------------- */

TEST_F(SubnetSimInfo, AUsableSimIsAskedOnce) {
    for (const int32_t status : {2, 5}) {
        const LogCapture log;
        const sim::SimInfo info = ask_after({{MAL_NO_ERR, status}});
        EXPECT_EQ(status, info.sim_status);
        EXPECT_STREQ("46001", info.plmn);
        EXPECT_STREQ("", info.spn);
        EXPECT_STREQ("", info.md5);
        EXPECT_EQ(1u, polls());
        EXPECT_EQ(std::vector<int>{}, pauses());
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, poll_line(0, 1, status)));
    }
}

TEST_F(SubnetSimInfo, ASimThatIsNotReadyIsAskedTenTimesASecondApart) {
    for (const int32_t status : {0, 3, 8}) {
        for (const int32_t type : {kRunTime, kBoot}) {
            const LogCapture log;
            EXPECT_EQ(status, ask_after({{MAL_NO_ERR, status}}, type).sim_status);
            EXPECT_EQ(10u, polls());
            EXPECT_EQ(std::vector<int>(10, 1000), pauses());
            EXPECT_EQ("sleep 1000", timeline().back());
            EXPECT_TRUE(asked_for_the_state_only());
            for (int count = 1; count <= 10; ++count) {
                EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, poll_line(0, count, status)));
            }
        }
    }
}

TEST_F(SubnetSimInfo, AModemThatCantTellIsAskedTenTimes) {
    const LogCapture log;
    const sim::SimInfo info = ask_after({kFailed});
    EXPECT_EQ(0, info.sim_status);
    EXPECT_EQ(10u, polls());
    EXPECT_EQ(std::vector<int>(10, 1000), pauses());
    EXPECT_TRUE(asked_for_the_state_only());
    for (int count = 1; count <= 10; ++count) {
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, poll_line(-1, count, 0)));
    }
}

TEST_F(SubnetSimInfo, AStateThatComesWithAFailureDoesNotCount) {
    const sim::SimInfo info = ask_after({{MAL_FAILURE_ERR, MAL_SIM_STATUS_USABLE}});
    EXPECT_EQ(0, info.sim_status);
    EXPECT_EQ(10u, polls());
    EXPECT_TRUE(asked_for_the_state_only());
}

TEST_F(SubnetSimInfo, ASimMayGetReadyMeanwhile) {
    const LogCapture log;
    const sim::SimInfo info = ask_after({kNotReady, kFailed, {MAL_NO_ERR, 3}, {MAL_NO_ERR, 5}});
    EXPECT_EQ(5, info.sim_status);
    EXPECT_STREQ("46001", info.plmn);
    EXPECT_EQ(4u, polls());
    EXPECT_EQ(std::vector<int>(3, 1000), pauses());
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, poll_line(0, 4, 5)));
}

TEST_F(SubnetSimInfo, ASimMayGetReadyAtTheTenthPoll) {
    std::vector<ModemPoll> polls(9, kNotReady);
    polls.push_back(kUsable);
    EXPECT_EQ(2, ask_after(polls).sim_status);
    EXPECT_EQ(std::vector<int>(9, 1000), pauses());
}

TEST_F(SubnetSimInfo, ASimThatWaitsForItsPinEndsThePollingAtBoot) {
    EXPECT_EQ(1, ask_after({kPin}).sim_status);
    EXPECT_EQ((Events{"modem status 1"}), timeline());
    EXPECT_EQ(1, ask_after({kNotReady, kPin}).sim_status);
    EXPECT_EQ(2u, polls());
}

TEST_F(SubnetSimInfo, ASimThatWaitsForItsPinIsAskedFourTimesAtRunTime) {
    EXPECT_EQ(1, ask_after({kPin}, kRunTime).sim_status);
    EXPECT_EQ(4u, polls());
    EXPECT_EQ(std::vector<int>(4, 300), pauses());
    EXPECT_EQ("sleep 300", timeline().back());
    EXPECT_TRUE(asked_for_the_state_only());
}

TEST_F(SubnetSimInfo, ThePinMayBeEnteredMeanwhile) {
    const sim::SimInfo info = ask_after({kPin, kPin, kPin, kUsable}, kRunTime);
    EXPECT_EQ(2, info.sim_status);
    EXPECT_STREQ("46001", info.plmn);
    EXPECT_EQ(std::vector<int>(3, 300), pauses());
}

TEST_F(SubnetSimInfo, APollInBetweenStartsTheCountOfPinStatesAnew) {
    for (const ModemPoll &between : {kFailed, kNotReady}) {
        EXPECT_EQ(1, ask_after({kPin, kPin, kPin, between, kPin}, kRunTime).sim_status);
        EXPECT_EQ((std::vector<int>{300, 300, 300, 1000, 300, 300, 300, 300}), pauses());
    }
}

TEST_F(SubnetSimInfo, PinStatesDoNotStartTheCountOfFailuresAnew) {
    std::vector<ModemPoll> polls;
    for (int i = 0; i < 20; ++i) {
        polls.push_back(kPin);
        polls.push_back(kFailed);
    }
    EXPECT_EQ(1, ask_after(polls, kRunTime).sim_status);
    EXPECT_EQ(10, std::count(timeline().begin(), timeline().end(), "sleep 1000"));
    EXPECT_EQ(10, std::count(timeline().begin(), timeline().end(), "sleep 300"));
}

TEST_F(SubnetSimInfo, IsWaitedForAtMostNineteenSecondsAtRunTime) {
    std::vector<ModemPoll> polls;
    for (int i = 0; i < 20; ++i) {
        polls.insert(polls.end(), {kPin, kPin, kPin, kNotReady});
    }
    EXPECT_EQ(0, ask_after(polls, kRunTime).sim_status);
    const std::vector<int> waited = pauses();
    EXPECT_EQ(19000, std::accumulate(waited.begin(), waited.end(), 0));
}

TEST_F(SubnetSimInfo, AnyOtherStateEndsThePollingUnusable) {
    for (const int32_t status : {4, 6, 7, 9, 10, 255, -1, INT32_MIN, INT32_MAX}) {
        for (const int32_t type : {kRunTime, kBoot}) {
            EXPECT_EQ(status, ask_after({{MAL_NO_ERR, status}}, type).sim_status);
            EXPECT_EQ((Events{"modem status 1"}), timeline());
        }
    }
}

TEST_F(SubnetSimInfo, OnlyTwoAndFiveAreUsable) {
    for (int32_t status = -1; status < 12; ++status) {
        EXPECT_EQ(status == 2 || status == 5, sim::is_usable_sim(status)) << status;
    }
}

/* ---- The PLMN -------------------------------------------------------------------------------------- */

TEST_F(SubnetSimInfo, ThePlmnIsAskedForUntilItComes) {
    const LogCapture log;
    fake_modem().plmns = {{-1, ""}, {-7, ""}, {MAL_NO_ERR, plmn_bytes("262", "02")}};
    EXPECT_STREQ("26202", ask().plmn);
    EXPECT_EQ((Events{"modem status 1", "modem plmn 1 8", "sleep 1000", "modem plmn 1 8", "sleep 1000",
                      "modem plmn 1 8", "get mnet_sim_subnet_custom_mnc 4", "modem spn 1 17"}),
              timeline());
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "failed to libmal_get_sim_plmn count 1"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "failed to libmal_get_sim_plmn count 2"));
    EXPECT_EQ(2u, log.count("failed to libmal_get_sim_plmn"));
}

TEST_F(SubnetSimInfo, AfterTwentyFailuresThePlmnIsEmptyAndTheRunGoesOn) {
    const LogCapture log;
    fake_modem().plmns = {{MAL_FAILURE_ERR, plmn_bytes("460", "01")}};
    fake_modem().spns = {{MAL_NO_ERR, spn_bytes("XYZ")}};
    const sim::SimInfo info = ask();
    EXPECT_STREQ("", info.plmn);
    EXPECT_STREQ("XYZ", info.spn);
    EXPECT_EQ(20u, count_events("modem plmn 1 8"));
    EXPECT_EQ(std::vector<int>(20, 1000), pauses());
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "failed to libmal_get_sim_plmn count 20"));
    EXPECT_EQ(20u, log.count("failed to libmal_get_sim_plmn"));
}

TEST_F(SubnetSimInfo, TheTwentiethAnswerStillCounts) {
    fake_modem().plmns.assign(19, {MAL_FAILURE_ERR, ""});
    fake_modem().plmns.push_back({MAL_NO_ERR, plmn_bytes("460", "01")});
    EXPECT_STREQ("46001", ask().plmn);
}

TEST_F(SubnetSimInfo, ACustomMncTakesTheSimsPlace) {
    const LogCapture log;
    store("mnet_sim_subnet_custom_mnc", "99");
    EXPECT_STREQ("46099", ask().plmn);
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "sim mnc get db is 99"));
}

TEST_F(SubnetSimInfo, ACustomMncOfThreeCharactersFits) {
    store("mnet_sim_subnet_custom_mnc", "123");
    EXPECT_STREQ("460123", ask().plmn);
}

TEST_F(SubnetSimInfo, WithoutACustomMncTheSimsOwnCounts) {
    const LogCapture log;
    EXPECT_STREQ("46001", ask().plmn);
    store("mnet_sim_subnet_custom_mnc", "");
    EXPECT_STREQ("46001", ask().plmn);
    store("mnet_sim_subnet_custom_mnc", "1234");
    EXPECT_STREQ("46001", ask().plmn);
    EXPECT_FALSE(log.contains("sim mnc get db"));
}

TEST_F(SubnetSimInfo, ACodeWithoutItsNulIsNotReadBeyondItsField) {
    fake_modem().plmns = {{MAL_NO_ERR, "12345678"}};
    EXPECT_STREQ("12345678", ask().plmn);
    fake_modem().plmns = {{MAL_NO_ERR, "1234" + std::string(1, '\0') + "678"}};
    EXPECT_STREQ("1234", ask().plmn);
    fake_modem().plmns = {{MAL_NO_ERR, std::string(1, '\0') + "2345678"}};
    EXPECT_STREQ("5678", ask().plmn);
}

/* ---- The name -------------------------------------------------------------------------------------- */

TEST_F(SubnetSimInfo, TheNameKeepsSixteenCharacters) {
    fake_modem().spns = {{MAL_NO_ERR, spn_bytes("sixteen letters.")}};
    EXPECT_STREQ("sixteen letters.", ask().spn);
    fake_modem().spns = {{MAL_NO_ERR, "seventeen letters"}};
    EXPECT_STREQ("seventeen letter", ask().spn);
}

TEST_F(SubnetSimInfo, ANameThatCantBeReadIsEmptyAndLogged) {
    const LogCapture log;
    fake_modem().spns = {{-3, spn_bytes("XYZ")}};
    const sim::SimInfo info = ask();
    EXPECT_STREQ("", info.spn);
    EXPECT_STREQ("46001", info.plmn);
    EXPECT_EQ(1u, count_events("modem spn 1 17"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "failed to libmal_get_sim_spn ret:-3"));
}
