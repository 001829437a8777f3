/*
 * Waiting for the modem and the SIM, with the real modem client: the number of requests, and the result of a
 * modem that fails at each step.
 */
#include <gtest/gtest.h>

#include <string>

#include "system/sim/sim_device.h"

namespace {

class SimWait : public SimDevice {
  protected:
    SimWait() { put_file("46001/custom_data.txt", "apn=internet\n"); }

    void expect_nothing_done() const {
        EXPECT_EQ("2", status());
        EXPECT_TRUE(logged("sim not normal, no need subnet adapt")) << log();
        EXPECT_EQ("ret 3", perm("apn"));
        EXPECT_EQ(0u, reboots());
    }

    size_t polls() const { return count_logged("libmal_get_sim_status ret:"); }
};

TEST_F(SimWait, WithoutASimTenPollsAreMadeAndNothingIsDone) {
    simulate("mpss=1\n");
    power_on();
    adapt(kBoot);
    expect_nothing_done();
    EXPECT_EQ(10u, polls());
    EXPECT_EQ(10u, count_logged("pause 1000\n"));
    EXPECT_TRUE(logged("libmal_get_sim_status ret:-1, count:10, sim_status=0"));
}

TEST_F(SimWait, ASimThatNeverGetsReadyIsPolledTenTimes) {
    power_on();
    for (const char *state : {"0", "3", "8"}) {
        simulate(std::string("sim_status=") + state + "\nmcc=460\nmnc=01\nspn=\n");
        adapt(kBoot);
        expect_nothing_done();
        EXPECT_EQ(10u, polls());
        EXPECT_EQ(10u, count_logged("pause 1000\n"));
    }
}

TEST_F(SimWait, ASimThatWaitsForItsPinIsPolledOnceAtBoot) {
    simulate("sim_status=1\nmcc=460\nmnc=01\nspn=\n");
    power_on();
    adapt(kBoot);
    expect_nothing_done();
    EXPECT_EQ(1u, polls());
    EXPECT_EQ(0u, count_logged("pause "));
}

TEST_F(SimWait, ASimThatWaitsForItsPinIsPolledFourTimesAtRunTime) {
    simulate("sim_status=1\nmcc=460\nmnc=01\nspn=\n");
    power_on();
    adapt(kRunTime);
    expect_nothing_done();
    EXPECT_EQ(4u, count_logged("pause 300\n"));
}

TEST_F(SimWait, InRealTimeASimThatGetsReadyIsNoticed) {
    simulate("sim_status=0\nmcc=460\nmnc=01\nspn=\n");
    power_on();
    start_module({});
    module_->tell("adapt 0");
    EXPECT_TRUE(module_->process().wait_for_error("libmal_get_sim_status ret:0, count:1, sim_status=0"));
    insert_sim("460", "01");
    EXPECT_EQ("done", module_->reply());
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("2", status());
}

TEST_F(SimWait, TheModemSideIsWaitedFor) {
    simulate("mpss=0\nsim_status=2\nmcc=460\nmnc=01\nspn=\n");
    power_on();
    start_module();
    module_->tell("adapt 0");
    EXPECT_TRUE(module_->process().wait_for_error("check MAL MPSS status..."));
    EXPECT_TRUE(wait_until([this] { return count_logged("pause 1000\n") > 20; }));
    EXPECT_EQ("0", status());
    EXPECT_EQ(0u, polls());
    insert_sim("460", "01");
    EXPECT_EQ("done", module_->reply());
    EXPECT_EQ("internet", perm("apn"));
}

TEST_F(SimWait, AModemThatCantTellThePlmnIsAskedTwentyTimes) {
    simulate("sim_status=2\nspn=XYZ\n");
    power_on();
    adapt(kBoot);
    EXPECT_EQ("2", status());
    EXPECT_EQ(20u, count_logged("failed to libmal_get_sim_plmn count "));
    EXPECT_EQ(20u, count_logged("pause 1000\n"));
    EXPECT_TRUE(logged("current_plmn=, current_spn=XYZ subnet_plmn="));
    EXPECT_TRUE(logged("sub plmn path not exist and not use subnet info, no need adapt"));
    EXPECT_EQ("ret 3", perm("apn"));
}

TEST_F(SimWait, AModemThatCantTellTheNameStillHasAnOperator) {
    simulate("sim_status=5\nmcc=460\nmnc=01\n");
    power_on();
    adapt(kRunTime);
    EXPECT_TRUE(logged("failed to libmal_get_sim_spn ret:-1"));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("", perm("mnet_sim_subnet_spn"));
}

TEST_F(SimWait, ASecondRunOfAModuleFindsItsModemClientInitialised) {
    insert_sim("460", "01");
    power_on();
    adapt(kRunTime);
    EXPECT_EQ("done", module_->ask("adapt 0"));
    EXPECT_FALSE(logged("ASSERT"));
    EXPECT_EQ("2", status());
}

}  // namespace
