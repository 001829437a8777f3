/*
 * The adaptation as a whole: every request, question, pause and reboot, in its order, and the status that
 * other modules see.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "frwk_utils.h"
#include "md5.h"
#include "unit/frwk_utils/sim/subnet_fixture.h"

int32_t frwk_system_reboot(uint32_t reason) {
    timeline().push_back("reboot " + std::to_string(reason));
    return 1;
}

namespace {

constexpr char kCall[] = "frwk_sim_subnet_handle";
constexpr int32_t kRunTime = 0;
constexpr int32_t kBoot = 1;

const std::string kOperatorFile = kSubnetFolder + "/46001/custom_data.txt";

std::string md5_of(const std::string &path) {
    char text[MD5_TEXT_SIZE] = "";
    (void)md5_encrypt_file_str(path.c_str(), text);
    return text;
}

/* Lists of events, one after the other. */
Events joined(std::initializer_list<Events> parts) {
    Events all;
    for (const Events &part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

const Events kStart = {"get mnet_sim_subnet_switch 1025", "set mnet_sim_subnet_adapt_status=0",
                       "modem init router 0"};
const Events kAskSim = {"modem status 1", "modem plmn 1 8", "get mnet_sim_subnet_custom_mnc 4",
                        "modem spn 1 17"};
const Events kDecide = {"get_perm mnet_sim_subnet_plmn 10", "get_perm mnet_sim_subnet_path 128",
                        "get_perm mnet_sim_subnet_md5 33"};
const Events kBeginAction = {"get_perm mnet_sim_subnet_plmn 10", "get_perm mnet_sim_subnet_spn 17"};
const Events kForget = {"set_perm mnet_sim_subnet_plmn=", "set_perm mnet_sim_subnet_spn=",
                        "set_perm mnet_sim_subnet_path=", "set_perm mnet_sim_subnet_md5=", "save"};
const Events kFinished = {"set mnet_sim_subnet_adapt_status=2"};
const Events kReboot = {"set mnet_sim_subnet_adapt_status=1", "sleep 2000", "reboot 801"};

/* How a file is written down. */
Events noted(const std::string &plmn, const std::string &spn, const std::string &path) {
    return {"set_perm mnet_sim_subnet_plmn=" + plmn, "set_perm mnet_sim_subnet_spn=" + spn,
            "set_perm mnet_sim_subnet_md5=" + md5_of(path), "set_perm mnet_sim_subnet_path=" + path, "save"};
}

class SimSubnet : public SubnetTest {
  protected:
    void SetUp() override {
        SubnetTest::SetUp();
        store("mnet_sim_subnet_switch", "on");
    }

    /* Runs the adaptation. Returns what it did. */
    static Events run(int32_t type) {
        timeline().clear();
        frwk_sim_subnet_handle(type);
        return timeline();
    }

    std::string status() const { return stored("mnet_sim_subnet_adapt_status"); }
};

/* The value of a switch that is not on, and its run. */
void expect_off(const Events &events, const LogCapture &log) {
    EXPECT_EQ(joined({{"get mnet_sim_subnet_switch 1025"}, kFinished}), events);
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "sim subnet adapt feature off return"));
    EXPECT_EQ(1u, log.debug_lines().size()) << log.text();
}

}  // namespace

/* ---- The switch ------------------------------------------------------------------------------------ */

TEST_F(SimSubnet, SwitchInUpperCaseCountsAsOff) {
    const LogCapture log;
    store("mnet_sim_subnet_switch", "ON");
    expect_off(run(kBoot), log);
    EXPECT_EQ("2", status());
}

TEST_F(SimSubnet, SwitchOfAnyOtherValueCountsAsOff) {
    for (const char *value : {"off", "", "1", "on ", " on", "onn", "o"}) {
        const LogCapture log;
        store("mnet_sim_subnet_switch", value);
        expect_off(run(kBoot), log);
    }
}

TEST_F(SimSubnet, SwitchThatIsMissingCountsAsOff) {
    const LogCapture log;
    database().plain.clear();
    expect_off(run(kRunTime), log);
}

TEST_F(SimSubnet, WithoutADatabaseTheFeatureIsOff) {
    const LogCapture log;
    database().result = E_ZNDB_RET_IPC;
    expect_off(run(kBoot), log);
    EXPECT_EQ("(none)", status());
}

TEST_F(SimSubnet, SwitchOfTheLongestValueIsRead) {
    const LogCapture log;
    store("mnet_sim_subnet_switch", std::string(1023, 'o'));
    expect_off(run(kBoot), log);
}

TEST_F(SimSubnet, StartsWithStatusUnderWay) {
    for (const int32_t type : {kRunTime, kBoot}) {
        const LogCapture log;
        const Events events = run(type);
        EXPECT_EQ(kStart, Events(events.begin(), events.begin() + 3));
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall,
                                "sim subnet adapt feature on, start handle type=" + std::to_string(type)));
    }
}

/* ---- The modem ------------------------------------------------------------------------------------- */

TEST_F(SimSubnet, AModemClientThatIsInitialisedAlreadyIsFine) {
    const LogCapture log;
    fake_modem().init_ret = MAL_INITIAL_ALREADY_ERR;
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kFinished}), run(kBoot));
    EXPECT_FALSE(log.contains("ASSERT"));
}

TEST_F(SimSubnet, AModemClientThatCantBeInitialisedIsABrokenAssertionAndTheRunGoesOn) {
    for (const int32_t ret : {-1, 1, -4, -6}) {
        const LogCapture log;
        fake_modem().init_ret = ret;
        EXPECT_EQ(joined({kStart, kAskSim, kDecide, kFinished}), run(kBoot));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall,
                                assertion("(MAL_NO_ERR == rt) || (MAL_INITIAL_ALREADY_ERR == rt)")));
    }
}

TEST_F(SimSubnet, AModuleOfTheModemSideWaitsForItOnceASecond) {
    const LogCapture log;
    become(4);
    fake_modem().mpss = {0, 0, 0, 1};
    const Events start = {"get mnet_sim_subnet_switch 1025", "set mnet_sim_subnet_adapt_status=0",
                          "modem init mnet 0"};
    const Events wait = {"modem mpss", "sleep 1000", "modem mpss", "sleep 1000",
                         "modem mpss", "sleep 1000", "modem mpss"};
    EXPECT_EQ(joined({start, wait, kAskSim, kDecide, kFinished}), run(kBoot));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "check MAL MPSS status..."));
}

TEST_F(SimSubnet, TheWaitForTheModemHasNoLimit) {
    become(4);
    fake_modem().mpss.assign(5000, 0);
    fake_modem().mpss.push_back(-1);
    (void)run(kRunTime);
    EXPECT_EQ(5000u, count_events("sleep 1000"));
    EXPECT_EQ("2", status());
}

TEST_F(SimSubnet, AnyOtherModuleDoesNotWaitForTheModem) {
    const LogCapture log;
    fake_modem().mpss = {0};
    (void)run(kBoot);
    EXPECT_EQ(0u, count_events("modem mpss"));
    EXPECT_FALSE(log.contains("check MAL"));
}

/* ---- What is done ---------------------------------------------------------------------------------- */

TEST_F(SimSubnet, AFirstAdaptationAtBootAppliesTheFileAndReboots) {
    const LogCapture log;
    put_file("46001/custom_data.txt", "apn=internet\nroaming=off\n");
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      kBeginAction,
                      {"set_perm apn=internet", "set_perm roaming=off"},
                      noted("46001", "", kOperatorFile),
                      kReboot}),
              run(kBoot));
    EXPECT_EQ("1", status());
    for (const char *line :
         {"FRWK_SIM_SUBNET_NEED_ADAPT", "sim subnet adapt success", "sim subnet boot adapt, need reboot"}) {
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, line));
    }
    EXPECT_TRUE(logged_once(log, kDebugLevel, "subnet delete, subnet_plmn empty, no need delete"));
    EXPECT_FALSE(log.contains("failed"));
}

TEST_F(SimSubnet, AFirstAdaptationAtRunTimeAppliesTheFileWithoutAReboot) {
    const LogCapture log;
    put_file("46001/custom_data.txt", "apn=internet\n");
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      kBeginAction,
                      {"set_perm apn=internet"},
                      noted("46001", "", kOperatorFile),
                      kFinished}),
              run(kRunTime));
    EXPECT_EQ("2", status());
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "sim subnet boot adapt, no need reboot"));
}

TEST_F(SimSubnet, AnyTypeButZeroIsABoot) {
    for (const int32_t type : {2, -1, INT32_MAX}) {
        put_file("46001/custom_data.txt", "type=" + std::to_string(type));
        const Events events = run(type);
        EXPECT_EQ("reboot 801", events.back());
        EXPECT_EQ("1", status());
    }
}

TEST_F(SimSubnet, ASecondRunDoesNothing) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    const LogCapture log;
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kFinished}), run(kBoot));
    EXPECT_EQ("2", status());
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "FRWK_SIM_SUBNET_NO_NEED_ADAPT"));
}

TEST_F(SimSubnet, AChangedFileIsAppliedAgain) {
    put_file("custom_data.txt", "apn=default\n#roaming=off\n\nmode=4G\n");
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    put_file("46001/custom_data.txt", "apn=ims\n");
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      {"del_perm apn", "del_perm mode"},
                      kForget,
                      kBeginAction,
                      {"set_perm apn=ims"},
                      noted("46001", "", kOperatorFile),
                      kReboot}),
              run(kBoot));
    EXPECT_EQ("ims", stored_perm("apn"));
}

TEST_F(SimSubnet, ADeletionAloneCountsAsSuccess) {
    put_file("custom_data.txt", "apn=default\n");
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    put_file("46001/custom_data.txt", "# nothing any more\n");
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      {"del_perm apn"},
                      kForget,
                      kBeginAction,
                      noted("46001", "", kOperatorFile),
                      kReboot}),
              run(kBoot));
}

TEST_F(SimSubnet, ASwappedSimWithoutAFileOfItsOwnGetsTheDefaultFile) {
    put_file("custom_data.txt", "apn=default\n");
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    fake_modem().plmns = {{MAL_NO_ERR, plmn_bytes("262", "02")}};
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      {"del_perm apn"},
                      kForget,
                      kBeginAction,
                      {"set_perm apn=default"},
                      noted("26202", "", kDefaultFile),
                      kReboot}),
              run(kBoot));
}

TEST_F(SimSubnet, ASwappedSimWithoutAnyFileAsksForADeletionWhichNeedsTheDefaultFile) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    fake_modem().plmns = {{MAL_NO_ERR, plmn_bytes("262", "02")}};
    const LogCapture log;
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kBeginAction, kFinished}), run(kBoot));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "FRWK_SIM_NORMAL_NEED_DELETE"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "file(" + kDefaultFile + ") not find\n"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "sim subnet adapt failed"));
    EXPECT_EQ("46001", stored_perm("mnet_sim_subnet_plmn"));
}

TEST_F(SimSubnet, ADefaultFileThatTurnsUpLateIsDeletedFromOnly) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    (void)run(kBoot);
    fake_modem().plmns = {{MAL_NO_ERR, plmn_bytes("262", "02")}};
    put_file("custom_data.txt", "apn=default\n");
    doubles::base::os_file_exist.stand_in([](const char *) { return 0; });
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kBeginAction, {"del_perm apn"}, kForget, kReboot}),
              run(kBoot));
    EXPECT_EQ("(none)", stored_perm("apn"));
}

TEST_F(SimSubnet, AFileOfCommentsAppliesNothingAndFailsButIsWrittenDown) {
    put_file("46001/custom_data.txt", "# a comment\n\n   \n  # another\n");
    const LogCapture log;
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kBeginAction, kBeginAction, noted("46001", "", kOperatorFile),
                      kFinished}),
              run(kBoot));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "sim subnet adapt failed"));
    EXPECT_EQ("2", status());
    EXPECT_EQ(joined({kStart, kAskSim, kDecide, kFinished}), run(kBoot));
}

TEST_F(SimSubnet, ASimThatNeverGetsReadyChangesNothing) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    fake_modem().polls = {{MAL_NO_ERR, MAL_SIM_STATUS_NOT_READY}};
    Events polls;
    for (int i = 0; i < 10; ++i) {
        polls.insert(polls.end(), {"modem status 1", "sleep 1000"});
    }
    const LogCapture log;
    EXPECT_EQ(joined({kStart, polls, kDecide, kFinished}), run(kBoot));
    EXPECT_TRUE(logged_once(log, kDebugLevel, "sim not normal, no need subnet adapt"));
}

TEST_F(SimSubnet, ASimThatWaitsForItsPinAtBootChangesNothing) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    fake_modem().polls = {{MAL_NO_ERR, MAL_SIM_STATUS_PIN}};
    const LogCapture log;
    EXPECT_EQ(joined({kStart, {"modem status 1"}, kDecide, kFinished}), run(kBoot));
    EXPECT_TRUE(logged_once(log, kDebugLevel, "sim not normal, no need subnet adapt"));
}

TEST_F(SimSubnet, ASimThatWaitsForItsPinAtRunTimeIsAskedFourTimes) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    fake_modem().polls = {{MAL_NO_ERR, MAL_SIM_STATUS_PIN}};
    const Events polls = {"modem status 1", "sleep 300", "modem status 1", "sleep 300",
                          "modem status 1", "sleep 300", "modem status 1", "sleep 300"};
    EXPECT_EQ(joined({kStart, polls, kDecide, kFinished}), run(kRunTime));
}

TEST_F(SimSubnet, ACustomMncAndANameChooseTheFile) {
    put_file("46001/custom_data.txt", "from=sim\n");
    put_file("46099/custom_data.txt", "from=custom mnc\n");
    put_file("46099/custom_XYZ_data.txt", "from=custom mnc and name\n");
    store("mnet_sim_subnet_custom_mnc", "99");
    fake_modem().spns = {{MAL_NO_ERR, spn_bytes("XYZ")}};
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      kBeginAction,
                      {"set_perm from=custom mnc and name"},
                      noted("46099", "XYZ", path_of("46099/custom_XYZ_data.txt")),
                      kReboot}),
              run(kBoot));
}

TEST_F(SimSubnet, ADatabaseThatRefusesWritesIsNotNoticed) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    const LogCapture log;
    for (const char *call : {"zndb_set", "zndb_set_perm_data", "zndb_del_perm", "zndb_save"}) {
        database().results[call] = E_ZNDB_RET_FAILURE;
    }
    EXPECT_EQ(joined({kStart,
                      kAskSim,
                      kDecide,
                      kBeginAction,
                      kBeginAction,
                      {"set_perm apn=internet"},
                      noted("46001", "", kOperatorFile),
                      kReboot}),
              run(kBoot));
    EXPECT_TRUE(database().perm.empty());
    EXPECT_FALSE(log.contains("failed"));
}

TEST_F(SimSubnet, AnIdentityThatLeadsOutOfTheFolderGetsTheDefaultFile) {
    put_file("custom_data.txt", "apn=default\n");
    write_file("/m_webui/usr/db/custom_data.txt", "apn=stolen\n");
    write_file("/m_webui/usr/custom_data.txt", "apn=stolen\n");
    for (const auto &[mcc, mnc] :
         {std::pair("..", ""), std::pair(".", "."), std::pair("../", ".."), std::pair("/", "..")}) {
        fake_modem().plmns = {{MAL_NO_ERR, plmn_bytes(mcc, mnc)}};
        database().perm.clear();
        (void)run(kBoot);
        EXPECT_EQ("default", stored_perm("apn")) << mcc << mnc;
        EXPECT_EQ(kDefaultFile, stored_perm("mnet_sim_subnet_path"));
    }
    remove_node("/m_webui/usr/db/custom_data.txt");
    remove_node("/m_webui/usr/custom_data.txt");
}
