/*
 * zndb_tool restores with a way back: until somebody confirms, and in time.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/wait_until.h"
#include "system/tools/backup_fixture.h"

namespace {

const std::string kWayBack = "/m_data/usr/db/way_back.txt";
const std::string kAccounts = "/m_data/usr/www/auth.txt";

class ZndbToolRestore : public ZndbToolBackup {
  protected:
    ZndbToolRestore() {
        std::filesystem::remove_all("/m_data/usr/www");
        EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
        EXPECT_EQ(0, zndb_set("ssid", "before"));
        EXPECT_EQ(0, zndb_set("other", "before"));
        EXPECT_TRUE(write_text(kDatabase, "before"));
        EXPECT_TRUE(std::filesystem::create_directories("/m_data/usr/www"));
        EXPECT_TRUE(write_text(kAccounts, "before"));
    }

    void expect_restored() {
        EXPECT_EQ("home", plain("ssid"));
        EXPECT_EQ("ret 3", plain("other"));
        EXPECT_EQ("data", file_text(kDatabase));
    }

    void expect_before() {
        EXPECT_EQ("before", plain("ssid"));
        EXPECT_EQ("before", plain("other"));
        EXPECT_EQ("before", file_text(kDatabase));
        EXPECT_EQ("before", file_text(kAccounts));
    }

    /* A backup that fails half-way. */
    static void put_wrong_backup() {
        const std::string body = backup_bytes::record(2, "/m_data/usr/db/user_data.txt", "a=1\n") +
                                 backup_bytes::record(3, kDatabase, "of no known type");
        ASSERT_TRUE(write_text(kBackup, backup_bytes::packed(body, kMagic)));
        ASSERT_EQ(1, zn_encrypt_file_ex(kBackup.c_str()));
    }

    static bool is_kept() { return std::filesystem::exists(kWayBack); }
};

TEST_F(ZndbToolRestore, StaysAndKeepsTheConfigurationFromBefore) {
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    expect_restored();
    cut_power();
    expect_restored();
    EXPECT_EQ("", kTool.output_of({"revert"})); /* to the last save, not to the time before */
    expect_restored();
    EXPECT_EQ("", kTool.output_of({"revert", "--restored"}));
    expect_before();
    EXPECT_FALSE(is_kept());
}

TEST_F(ZndbToolRestore, AConfirmationGivesUpTheConfigurationFromBefore) {
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_TRUE(is_kept());
    EXPECT_EQ("", kTool.output_of({"confirm"}));
    EXPECT_FALSE(is_kept());
    expect_restored();
}

TEST_F(ZndbToolRestore, WithATimeLimitTheConfigurationFromBeforeComesBack) {
    EXPECT_EQ("configuration restored; reverted in 2 s unless confirmed: zndb_tool confirm\n",
              kTool.output_of({"restore", "--confirm-within", "2", kBackup}));
    EXPECT_TRUE(wait_until([] { return !is_kept(); }));
    expect_before();
    cut_power();
    expect_before();
}

TEST_F(ZndbToolRestore, WithATimeLimitAConfirmedRestoreStays) {
    (void)kTool.output_of({"restore", "--confirm-within", "600", kBackup});
    EXPECT_EQ("", kTool.output_of({"confirm"}));
    cut_power();
    expect_restored();
}

TEST_F(ZndbToolRestore, WithATimeLimitAKillReverts) {
    (void)kTool.output_of({"restore", "--confirm-within", "600", kBackup});
    restart();
    expect_before();
}

TEST_F(ZndbToolRestore, ThatFailsHalfWayIsRevertedAtOnceWithATimeLimit) {
    put_wrong_backup();
    kTool.expect_failure(
        1, "restore of " + kBackup + " failed: 4 E_APPS_ERR_FORMAT; the configuration from before is back",
        {"restore", "--confirm-within", "600", kBackup});
    expect_before();
    EXPECT_FALSE(is_kept());
}

TEST_F(ZndbToolRestore, ThatFailsHalfWayCanBeReverted) {
    put_wrong_backup();
    EXPECT_EQ(1, kTool.run({"restore", kBackup}).status);
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("", kTool.output_of({"revert", "--restored"}));
    expect_before();
}

TEST_F(ZndbToolRestore, ThatChangedNothingLeavesNothingToConfirm) {
    ASSERT_TRUE(write_text(kBackup, backup_bytes::packed("", kMagic + 1))); /* of another product */
    ASSERT_EQ(1, zn_encrypt_file_ex(kBackup.c_str()));
    EXPECT_EQ(1, kTool.run({"restore", kBackup}).status);
    EXPECT_FALSE(is_kept());
    EXPECT_EQ(1, kTool.run({"restore", "--confirm-within", "600", kBackup}).status);
    EXPECT_FALSE(is_kept());
    expect_before();
}

TEST_F(ZndbToolRestore, GoesOnWithAWarningWhereNothingCanBeKept) {
    std::filesystem::create_directories(kWayBack + ".tmp/in the way");
    kTool.expect_failure(1, "restore of " + kBackup + " failed: 2007 E_APPS_ERR_ZNDB_OTHER",
                         {"restore", "--confirm-within", "600", kBackup});
    EXPECT_EQ("before", plain("ssid"));
    const ToolEnd end = kTool.run({"restore", kBackup});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ("zndb_tool: warning: the present configuration can't be kept: 2007 E_APPS_ERR_ZNDB_OTHER\n",
              end.errors);
    expect_restored();
    std::filesystem::remove_all(kWayBack + ".tmp");
}

TEST_F(ZndbToolRestore, IsRefusedWhileAnApplyAwaitsConfirmation) {
    (void)kTool.output_of({"apply", "-"}, "ssid=tried\n");
    kTool.expect_failure(1,
                         "restore of " + kBackup +
                             " failed: 17 E_APPS_ERR_BUSY; another apply or restore awaits confirmation: "
                             "zndb_tool confirm or zndb_tool revert first",
                         {"restore", kBackup});
    EXPECT_EQ("tried", plain("ssid"));
}

}  // namespace
