/*
 * zndb_tool backs up and restores the user configuration.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/child_process.h"
#include "support/wait_until.h"
#include "system/tools/backup_fixture.h"

namespace {

TEST_F(ZndbToolBackup, BringsBackWhatItBackedUp) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ(0, zndb_set("ssid", "changed"));
    EXPECT_EQ(0, zndb_set("new", "1"));
    ASSERT_TRUE(write_text(kDatabase, "changed"));
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_EQ("ret 3", plain("new"));
    EXPECT_EQ("data", file_text(kDatabase));
}

TEST_F(ZndbToolBackup, SavesFirst) {
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"backup", kBackup}, {"backup", "--save", kBackup}}) {
        const std::string value = std::to_string(words.size());
        EXPECT_EQ(0, zndb_set("ssid", value.c_str()));
        EXPECT_EQ("", kTool.output_of(words));
        EXPECT_EQ(value, restored("ssid"));
    }
}

TEST_F(ZndbToolBackup, WithNoSaveItHoldsWhatWasSavedBefore) {
    EXPECT_EQ(0, zndb_set("ssid", "unsaved"));
    EXPECT_EQ("", kTool.output_of({"backup", "--no-save", kBackup}));
    EXPECT_NE(std::string::npos, file_text("/m_data/usr/db/user_data.txt").find("ssid=home\n"));
    EXPECT_EQ("home", restored("ssid"));
    kTool.expect_usage("--save and --no-save can't be given together",
                       {"backup", "--save", "--no-save", kBackup});
}

TEST_F(ZndbToolBackup, ASaveThatFailsEndsItUnlessItIsToGoOn) {
    EXPECT_EQ(0, zndb_set("ssid", "unsaved"));
    std::filesystem::create_directories("/m_data/usr/db/user_data.txt.tmp/in the way");
    kTool.expect_failure(1,
                         "save failed: 2007 E_APPS_ERR_ZNDB_OTHER; --no-save backs up what was saved before",
                         {"backup", kBackup});
    EXPECT_FALSE(std::filesystem::exists(kBackup));
    EXPECT_EQ("", kTool.output_of({"backup", "--no-save", kBackup}));
    EXPECT_TRUE(std::filesystem::exists(kBackup));
}

TEST_F(ZndbToolBackup, LeavesNothingBesideTheBackup) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    const std::string bytes = file_text(kBackup);
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_EQ(1u, files_in(kFolder));
    EXPECT_EQ(bytes, file_text(kBackup));
    EXPECT_FALSE(copies_are_left());
}

TEST_F(ZndbToolBackup, ABackupWithoutSavedSettingsHasNothingToWarnOf) {
    std::filesystem::remove(paths::kPlainFile);
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
}

TEST_F(ZndbToolBackup, AFailedBackupLeavesTheOldOne) {
    ASSERT_TRUE(write_text(kBackup, "old"));
    make_product_a_setting();
    EXPECT_EQ(0, zndb_del("device_product_name"));
    kTool.expect_failure(1,
                         "backup to " + kBackup +
                             " failed: 21 E_APPS_ERR_INTERNAL; the device doesn't know its product: "
                             "device_product_name is not set",
                         {"backup", kBackup});
    EXPECT_EQ("old", file_text(kBackup));
    EXPECT_EQ(1u, files_in(kFolder));
}

TEST_F(ZndbToolBackup, CtrlCLeavesNoPartOfABackup) {
    ASSERT_TRUE(write_text(kDatabase, std::string(kLarge, 'x')));
    ASSERT_TRUE(write_text(kBackup, "old"));
    ChildProcess backup({tool_path("zndb_tool"), "backup", kBackup}, {"QUOR_DEBUG=0"});
    ASSERT_TRUE(wait_until([] { return files_in(kFolder) > 1; })) << backup.errors();
    backup.send_signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, backup.exit_status());
    EXPECT_EQ("old", file_text(kBackup));
    EXPECT_EQ(1u, files_in(kFolder));
}

TEST_F(ZndbToolBackup, ABackupThatCannotBeWrittenIsRefused) {
    kTool.expect_failure(1, "backup to /no/file failed: 12 E_APPS_ERR_IO", {"backup", "/no/file"});
    kTool.expect_failure(2, "can't write " + kFolder + ": Is a directory", {"backup", kFolder});
    EXPECT_FALSE(std::filesystem::exists(kFolder + ".part"));
}

TEST_F(ZndbToolBackup, ABackupOfAnotherKindOfDeviceChangesNothing) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ(0, zndb_set("ssid", "kept"));
    change_key();
    kTool.expect_failure(1,
                         "restore of " + kBackup +
                             " failed: 21 E_APPS_ERR_INTERNAL; it is damaged, or of another kind of device, "
                             "or the database failed; nothing has changed",
                         {"restore", kBackup});
    EXPECT_EQ("kept", plain("ssid"));
    EXPECT_FALSE(copies_are_left());
}

TEST_F(ZndbToolBackup, ABackupThatIsWrongInsideMayHaveChangedSomething) {
    EXPECT_EQ(0, zndb_set("channel", "11"));
    expect_failed_restore(backup_bytes::record(2, "/m_data/usr/db/user_data.txt", "a=1\n") +
                              backup_bytes::record(3, kDatabase, "of no known type"),
                          "restore of " + kBackup +
                              " failed: 4 E_APPS_ERR_FORMAT; the configuration may be incomplete\n"
                              "zndb_tool: the settings were emptied; there were 2, and there are 1 now; "
                              "files of the backup may be "
                              "missing\n"
                              "zndb_tool: to go back, restore a backup that was made before; " +
                              kBackup + " is unchanged, and the restore can be repeated");
    EXPECT_EQ("ret 3", plain("ssid"));
    EXPECT_EQ("1", plain("a"));
}

TEST_F(ZndbToolBackup, ARestoreThatLosesTheProductsNameSaysHowToSetIt) {
    make_product_a_setting();
    const std::string set = "zndb_tool set --save device_product_name 'QR-100'";
    expect_failed_restore(backup_bytes::record(3, kDatabase, "of no known type"),
                          "warning: device_product_name is a setting and not among the defaults; if the "
                          "restore fails half-way, the "
                          "device accepts no backup until: " +
                              set + "\nzndb_tool: restore of " + kBackup +
                              " failed: 4 E_APPS_ERR_FORMAT; the configuration may be incomplete\n"
                              "zndb_tool: the settings were emptied; there were 2, and there are 0 now; "
                              "files of the backup may be "
                              "missing\n"
                              "zndb_tool: the device no longer knows its product; first: " +
                              set + "\nzndb_tool: to go back, restore a backup that was made before; " +
                              kBackup + " is unchanged, and the restore can be repeated");
    EXPECT_EQ(0, run_shell("$TOOLS/" + set).status);
    EXPECT_EQ("QR-100", plain("device_product_name"));
}

TEST_F(ZndbToolBackup, ADeviceThatDoesNotKnowItsProductIsToldSo) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    make_product_a_setting();
    EXPECT_EQ(0, zndb_del("device_product_name"));
    kTool.expect_failure(1,
                         "restore of " + kBackup +
                             " failed: 21 E_APPS_ERR_INTERNAL; the device doesn't know its product: "
                             "device_product_name is not set; nothing has changed",
                         {"restore", kBackup});
    EXPECT_EQ("home", plain("ssid"));
}

TEST_F(ZndbToolBackup, ARestoreSavesFirst) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ(0, zndb_set("ssid", "unsaved"));
    change_key();
    EXPECT_EQ(1, kTool.run({"restore", kBackup}).status);
    EXPECT_NE(std::string::npos, file_text(paths::kPlainFile).find("ssid=unsaved\n"));
}

TEST_F(ZndbToolBackup, AFileThatCannotBeReadIsWrongUsage) {
    kTool.expect_failure(2, "can't read /no/file: No such file or directory", {"restore", "/no/file"});
    kTool.expect_failure(2, "can't read " + kFolder + ": Is a directory", {"restore", kFolder});
    EXPECT_FALSE(copies_are_left());
}

TEST_F(ZndbToolBackup, ARestoreNeedsRoomForItsCopy) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    const std::string user = geteuid() == 0 ? "" : "--map-root-user ";
    const ToolEnd end = run_shell("unshare --mount " + user +
                                  "bash -c 'mount --bind /tmp/m_tmp /tmp/m_tmp && mount -o "
                                  "remount,bind,ro /tmp/m_tmp && $TOOLS/zndb_tool restore " +
                                  kBackup + "'");
    EXPECT_EQ(2, end.status);
    EXPECT_EQ("zndb_tool: can't make a copy in /tmp/m_tmp: Read-only file system\n", end.errors);
    EXPECT_EQ("home", plain("ssid"));
}

TEST_F(ZndbToolBackup, WithoutTheDatabaseNothingIsTouched) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    zndb_->kill();
    const std::string rest =
        " failed: zndb is not running any more: nobody listens on its socket: 1 E_APPS_ERR_MODULE";
    kTool.expect_failure(3, "backup" + rest, {"backup", kFolder + "/other"});
    kTool.expect_failure(3, "restore" + rest, {"restore", kBackup});
    EXPECT_EQ(1u, files_in(kFolder));
}

}  // namespace
