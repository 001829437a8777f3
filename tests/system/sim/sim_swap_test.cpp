/*
 * One device, several SIMs: which settings are applied and deleted, and when the device reboots.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "system/sim/sim_device.h"

namespace {

using Clock = std::chrono::steady_clock;

class SimSwap : public SimDevice {
  protected:
    /* The first boot with a SIM of operator 460 01, up to the reboot. */
    void first_boot() {
        put_file("46001/custom_data.txt", "apn=internet\nroaming=off\n");
        insert_sim("460", "01");
        power_on();
        adapt(kBoot);
        ASSERT_TRUE(wait_for_reboots(1));
        reboot();
    }
};

TEST_F(SimSwap, TheFirstBootAppliesTheFileAndAsksForARebootAfterTwoSeconds) {
    put_file("46001/custom_data.txt", "# of this operator\napn=internet\nroaming=off\n");
    insert_sim("460", "01");
    power_on();
    adapt(kBoot);
    EXPECT_EQ("1", status());
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("off", perm("roaming"));
    EXPECT_EQ("46001", perm("mnet_sim_subnet_plmn"));
    EXPECT_EQ("", perm("mnet_sim_subnet_spn"));
    EXPECT_EQ(kSubnetFolder + "/46001/custom_data.txt", perm("mnet_sim_subnet_path"));
    EXPECT_EQ(32u, perm("mnet_sim_subnet_md5").size());
    EXPECT_TRUE(wait_for_reboots(1));
    EXPECT_EQ(1u, count_logged("pause "));
    EXPECT_TRUE(logged("pause 2000\n"));
}

TEST_F(SimSwap, WhatTheFirstBootAppliedSurvivesTheReboot) {
    first_boot();
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ("46001", perm("mnet_sim_subnet_plmn"));
}

TEST_F(SimSwap, TheStatusReadsOneAfterTheRebootThatFollowsAnAdaptation) {
    first_boot();
    EXPECT_EQ("1", status());
}

TEST_F(SimSwap, TheSecondBootDoesNothing) {
    first_boot();
    adapt(kBoot);
    EXPECT_EQ("2", status());
    EXPECT_TRUE(logged("sim normal, current_path same with subnet_path, no need adapt"));
    EXPECT_EQ(0u, count_logged("pause "));
    EXPECT_FALSE(logged("add subnet"));
    EXPECT_EQ(1u, reboots());
}

TEST_F(SimSwap, AChangedFileIsAppliedAgain) {
    put_file("custom_data.txt", "apn=default\nroaming=default\n");
    first_boot();
    put_file("46001/custom_data.txt", "apn=ims\n");
    adapt(kBoot);
    EXPECT_EQ("1", status());
    EXPECT_EQ("ims", perm("apn"));
    EXPECT_EQ("ret 3", perm("roaming"));
    EXPECT_TRUE(wait_for_reboots(2));
    reboot();
    adapt(kBoot);
    EXPECT_EQ("2", status());
    EXPECT_EQ(2u, reboots());
}

TEST_F(SimSwap, AtRunTimeANewSimIsAppliedWithoutAReboot) {
    first_boot();
    put_file("26202/custom_data.txt", "apn=web\n");
    insert_sim("262", "02");
    adapt(kRunTime);
    EXPECT_EQ("2", status());
    EXPECT_EQ("web", perm("apn"));
    EXPECT_EQ("26202", perm("mnet_sim_subnet_plmn"));
    EXPECT_TRUE(logged("sim subnet boot adapt, no need reboot"));
    EXPECT_EQ(1u, reboots());
}

TEST_F(SimSwap, ASimWithoutAFileGetsTheDefaultFilesKeysInPlaceOfTheOldOnes) {
    put_file("custom_data.txt", "apn=default\nroaming=default\n");
    first_boot();
    insert_sim("262", "02");
    adapt(kBoot);
    EXPECT_EQ("1", status());
    EXPECT_TRUE(logged("del subnet key=apn"));
    EXPECT_EQ("default", perm("apn"));
    EXPECT_EQ("default", perm("roaming"));
    EXPECT_EQ(kSubnetFolder + "/custom_data.txt", perm("mnet_sim_subnet_path"));
    EXPECT_TRUE(wait_for_reboots(2));
}

TEST_F(SimSwap, ASimWithoutAnyFileNeedsADeletionThatFailsWithoutTheDefaultFile) {
    first_boot();
    insert_sim("262", "02");
    adapt(kBoot);
    EXPECT_EQ("2", status());
    EXPECT_TRUE(logged("FRWK_SIM_NORMAL_NEED_DELETE"));
    EXPECT_TRUE(logged("file(/m_webui/usr/db/subnet/custom_data.txt) not find"));
    EXPECT_TRUE(logged("sim subnet adapt failed"));
    EXPECT_EQ("internet", perm("apn"));
    EXPECT_EQ(1u, reboots());
}

TEST_F(SimSwap, ACustomMncChoosesAnotherOperatorsFile) {
    put_file("46001/custom_data.txt", "apn=own\n");
    put_file("46099/custom_data.txt", "apn=custom\n");
    insert_sim("460", "01");
    power_on();
    EXPECT_EQ(0, zndb_set("mnet_sim_subnet_custom_mnc", "99"));
    adapt(kRunTime);
    EXPECT_EQ("custom", perm("apn"));
    EXPECT_EQ("46099", perm("mnet_sim_subnet_plmn"));
}

TEST_F(SimSwap, AFileForTheNameComesBeforeTheOperatorsOwn) {
    put_file("46001/custom_data.txt", "apn=operator\n");
    put_file("46001/custom_XYZ_data.txt", "apn=name\n");
    insert_sim("460", "01", "XYZ");
    power_on();
    adapt(kRunTime);
    EXPECT_EQ("name", perm("apn"));
    EXPECT_EQ("XYZ", perm("mnet_sim_subnet_spn"));
    insert_sim("460", "01", "ABC");
    adapt(kRunTime);
    EXPECT_EQ("operator", perm("apn"));
    EXPECT_EQ("ABC", perm("mnet_sim_subnet_spn"));
}

TEST_F(SimSwap, SwitchedOffNothingIsDone) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    insert_sim("460", "01");
    power_on();
    for (const char *value : {"off", "ON", ""}) {
        EXPECT_EQ(0, zndb_set("mnet_sim_subnet_switch", value));
        EXPECT_EQ(0, zndb_set("mnet_sim_subnet_adapt_status", "0"));
        adapt(kBoot);
        EXPECT_EQ("2", status());
        EXPECT_TRUE(logged("sim subnet adapt feature off return"));
        EXPECT_EQ("ret 3", perm("apn"));
    }
    EXPECT_EQ(0u, reboots());
}

TEST_F(SimSwap, WithoutADatabaseNothingIsDone) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    insert_sim("460", "01");
    adapt(kBoot);
    EXPECT_TRUE(logged("sim subnet adapt feature off return"));
}

TEST_F(SimSwap, APermStoreThatCantBeSavedIsNotNoticed) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    insert_sim("460", "01");
    start_after(
        "mkdir -p /m_data/usr_permanent/db && "
        "mount -t tmpfs -o ro tmpfs /m_data/usr_permanent/db");
    monitor_ = std::make_unique<ModuleProcess>(1);
    adapt(kBoot);
    EXPECT_TRUE(zndb_->wait_for_error("can't save /m_data/usr_permanent/db/perm_data.txt errno=30"));
    EXPECT_EQ("1", status());
    EXPECT_TRUE(wait_for_reboots(1));
}

TEST_F(SimSwap, InRealTimeTheRebootIsAskedForAfterTwoSeconds) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    insert_sim("460", "01");
    power_on();
    start_module({});
    const Clock::time_point begin = Clock::now();
    module_->tell("adapt 1");
    EXPECT_TRUE(wait_for_reboots(1));
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
    EXPECT_EQ("done", module_->reply());
    EXPECT_EQ("1", status());
}

TEST_F(SimSwap, AMissingMonitorChangesNothingForTheModule) {
    put_file("46001/custom_data.txt", "apn=internet\n");
    insert_sim("460", "01");
    start();
    adapt(kBoot);
    EXPECT_EQ("1", status());
    EXPECT_TRUE(logged("ipc connect to module [monitor] failed!"));
}

class ProductData : public SimDevice {
  protected:
    void apply() {
        power_on();
        ASSERT_TRUE(write_text("/m_data/usr/product.txt", "#no=1\nmodel=R1\nurl=a=b\n #key=1\nempty=\n"));
        start_module();
        EXPECT_EQ("ret=0", module_->ask("product /m_data/usr/product.txt"));
    }
};

TEST_F(ProductData, GoIntoThePlainStore) {
    apply();
    EXPECT_EQ("R1", plain("model"));
    EXPECT_EQ("a=b", plain("url"));
    EXPECT_EQ("", plain("empty"));
    EXPECT_EQ("ret 3", plain("no"));
    EXPECT_EQ("ret 3", perm("model"));
    EXPECT_EQ("ret=-1", module_->ask("product /m_data/usr/missing.txt"));
}

/* Nobody saves them but the database itself. */
TEST_F(ProductData, SurviveAReboot) {
    apply();
    EXPECT_EQ("ret=1", module_->ask("reboot 801"));
    ASSERT_TRUE(wait_for_reboots(1));
    reboot();
    EXPECT_EQ("R1", plain("model"));
    EXPECT_EQ("a=b", plain("url"));
    EXPECT_EQ("", plain("empty"));
}

TEST_F(ProductData, DoNotSurviveAPowerCut) {
    apply();
    module_.reset();
    cut_power();
    EXPECT_EQ("ret 3", plain("model"));
}

}  // namespace
