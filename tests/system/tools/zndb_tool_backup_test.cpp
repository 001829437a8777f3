/*
 * zndb_tool carries the user configuration to a file and back.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "cipher.h"
#include "support/backup_bytes.h"
#include "support/child_process.h"
#include "support/key_files.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const ToolChecks kTool("zndb_tool");

const std::string kFolder = "/m_data/usr/exchange";
const std::string kBackup = kFolder + "/router.bak";
constexpr size_t kLarge = size_t{32} << 20; /* takes a while to encipher */
constexpr uint32_t kMagic = 0x3A54D70D;     /* of the product QR-100 */
const std::string kDatabase = "/m_data/usr/dbm/database.db";

size_t files_in(const std::string &folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

bool copies_are_left() {
    for (const auto &entry : std::filesystem::directory_iterator("/tmp/m_tmp")) {
        if (entry.path().filename().string().find("zndb_tool") == 0) {
            return true;
        }
    }
    return false;
}

class ZndbToolBackup : public ZndbTest {
  protected:
    ZndbToolBackup() {
        for (const char *folder : {kFolder.c_str(), "/m_data/usr/dbm"}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directories(folder);
        }
        remove_key_files();
        write_key_file(kProductKeyPath, some_key());
        EXPECT_TRUE(write_text(kDatabase, "data"));
        EXPECT_TRUE(write_text(zndb_paths::kDefaultsFile, "device_product_name=QR-100\n"));
        start();
        EXPECT_EQ(0, zndb_set("ssid", "home"));
        EXPECT_EQ(0, zndb_save());
    }

    ~ZndbToolBackup() override { remove_key_files(); }

    /* Starts the database of a device whose product's name is a setting like any other. */
    void make_product_a_setting() {
        zndb_->kill();
        std::filesystem::remove(zndb_paths::kDefaultsFile);
        start();
        EXPECT_EQ(0, zndb_set("device_product_name", "QR-100"));
        EXPECT_EQ(0, zndb_save());
    }

    /* Writes a backup with this body, and expects the words for its failed restore. */
    void expect_failed_restore(const std::string &body, const std::string &words) {
        ASSERT_TRUE(write_text(kBackup, backup_bytes::packed(body, kMagic)));
        ASSERT_EQ(1, zn_encrypt_file_ex(kBackup.c_str()));
        kTool.expect_failure(1, words, {"restore", kBackup});
        EXPECT_FALSE(copies_are_left());
    }

    /* A device of another kind reads none of the files that this one enciphered. */
    static void change_key() { write_key_file(kProductKeyPath, some_key(1)); }
};

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

/* What a restore brings of a setting. */
std::string restored(const std::string &key) {
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    return plain(key);
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
    kTool.expect_usage("--save excludes --no-save", {"backup", "--save", "--no-save", kBackup});
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

/* A restore stops at a line that is none, so such lines must not get into a backup. */
TEST_F(ZndbToolBackup, OfASlightlyDamagedStoreNothingIsLost) {
    zndb_.reset();
    const std::string file = "/m_data/usr/db/user_data.txt";
    ASSERT_TRUE(write_text(file, "apn=internet\nrubbish\n" + file_text(file)));
    start();
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ("home", restored("ssid"));
    EXPECT_EQ("internet", plain("apn"));
}

TEST_F(ZndbToolBackup, ARestoreWithAPermFileOfNoUseSucceeds) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    zndb_.reset();
    std::filesystem::create_directories("/m_data/usr_permanent/db/perm_data.txt");
    start();
    EXPECT_EQ(0, zndb_set_perm_data("p", "pv"));
    EXPECT_EQ(0, zndb_set("ssid", "changed"));
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_EQ("pv", perm("p"));
    kTool.expect_failure(0, "warning: save of the perm store failed: 2007 E_APPS_ERR_ZNDB_OTHER",
                         {"backup", kBackup});
    EXPECT_TRUE(std::filesystem::exists(kBackup));
}

TEST_F(ZndbToolBackup, ARestoreOntoAReadOnlyFlashChangesNothing) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    start_after("mount --bind /m_data/usr/db /m_data/usr/db && mount -o remount,bind,ro /m_data/usr/db");
    EXPECT_EQ(0, zndb_set("ssid", "changed"));
    const ToolEnd end = kTool.run({"restore", kBackup});
    EXPECT_EQ(1, end.status);
    EXPECT_NE(std::string::npos,
              end.errors.find("save failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY; nothing has changed"))
        << end.errors;
    EXPECT_EQ("changed", plain("ssid"));
    EXPECT_EQ("QR-100", plain("device_product_name"));
    EXPECT_EQ("data", file_text(kDatabase));
}

TEST_F(ZndbToolBackup, LeavesNothingBesideTheBackup) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    const std::string bytes = file_text(kBackup);
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_EQ(1u, files_in(kFolder));
    EXPECT_EQ(bytes, file_text(kBackup));
    EXPECT_FALSE(copies_are_left());
}

/* The database skips the line and keeps the rest; a restore would not. */
TEST_F(ZndbToolBackup, ABackupOfADamagedFileWarnsOfTheLine) {
    ASSERT_TRUE(write_text(zndb_paths::kPlainFile, "ssid=home\nscratched\nchannel=11\n"));
    const ToolEnd end = kTool.run({"backup", kBackup});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(
        "zndb_tool: warning: /m_data/usr/db/user_data.txt:2: there is no '='; a restore of this backup stops "
        "there\n",
        end.errors);
    EXPECT_EQ("", kTool.output_of({"restore", kBackup}));
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_EQ("ret 3", plain("channel"));
}

TEST_F(ZndbToolBackup, ABackupWithoutSavedSettingsHasNothingToWarnOf) {
    std::filesystem::remove(zndb_paths::kPlainFile);
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
                              kBackup + " is as it was and can be tried again");
    EXPECT_EQ("ret 3", plain("ssid"));
    EXPECT_EQ("1", plain("a"));
}

TEST_F(ZndbToolBackup, ARestoreThatLosesTheProductsNameSaysHowToSetIt) {
    make_product_a_setting();
    const std::string set = "zndb_tool set --save device_product_name 'QR-100'";
    expect_failed_restore(backup_bytes::record(3, kDatabase, "of no known type"),
                          "warning: device_product_name is a setting and not among the defaults; if the "
                          "restore fails half-way, the "
                          "device takes no backup until: " +
                              set + "\nzndb_tool: restore of " + kBackup +
                              " failed: 4 E_APPS_ERR_FORMAT; the configuration may be incomplete\n"
                              "zndb_tool: the settings were emptied; there were 2, and there are 0 now; "
                              "files of the backup may be "
                              "missing\n"
                              "zndb_tool: the device no longer knows its product; first: " +
                              set + "\nzndb_tool: to go back, restore a backup that was made before; " +
                              kBackup + " is as it was and can be tried again");
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
    EXPECT_NE(std::string::npos, file_text(zndb_paths::kPlainFile).find("ssid=unsaved\n"));
}

/* What could not be saved would be lost, and an emptied database left empty. */
TEST_F(ZndbToolBackup, ARestoreThatCannotSaveFirstChangesNothing) {
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    zndb_->kill();
    start_after("mount --bind /m_data/usr/db /m_data/usr/db && mount -o remount,bind,ro /m_data/usr/db");
    EXPECT_EQ(0, zndb_set("ssid", "unsaved"));
    const ToolEnd end = kTool.run({"restore", kBackup});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("zndb_tool: restore of " + kBackup + ": save failed: ",
              end.errors.substr(0, end.errors.find("failed: ") + 8));
    EXPECT_NE(std::string::npos, end.errors.find("; nothing has changed\n")) << end.errors;
    EXPECT_EQ("unsaved", plain("ssid"));
    EXPECT_FALSE(copies_are_left());
}

TEST_F(ZndbToolBackup, AFileThatCannotBeReadIsWrongUsage) {
    kTool.expect_failure(2, "can't read /no/file: No such file or directory", {"restore", "/no/file"});
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
