/*
 * Backup and restore with damaged stores, an unusable file, and a read-only flash: no setting is lost without
 * a warning.
 */
#include <filesystem>
#include <string>

#include "system/tools/backup_fixture.h"

namespace {

using UselessStore = ZndbToolBackup;

class UselessReset : public ZndbToolBackup {
  protected:
    void expect_refused_after(const std::string &prepare);
};

/* A restore stops at a malformed line, so a backup must not contain such lines. */
TEST_F(UselessStore, OfASlightlyDamagedStoreNothingIsLost) {
    zndb_.reset();
    const std::string file = "/m_data/usr/db/user_data.txt";
    ASSERT_TRUE(write_text(file, "apn=internet\nrubbish\n" + file_text(file)));
    start();
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ("home", restored("ssid"));
    EXPECT_EQ("internet", plain("apn"));
}

/* The database skips the line and keeps the rest; a restore would not. */
TEST_F(UselessStore, ABackupOfADamagedFileWarnsOfTheLine) {
    ASSERT_TRUE(write_text(paths::kPlainFile, "ssid=home\nscratched\nchannel=11\n"));
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

/* The part of a line that the database doesn't keep is no hiding place. */
TEST_F(UselessStore, AFileWithLongCommentsIsRestoredAsItWasRead) {
    const std::string long_comment = "#" + std::string(1100, 'x');
    for (const std::string &comment : {long_comment + "\revil=1\n", long_comment + std::string("\0\n", 2),
                                       std::string("#x\revil=1\n"), std::string("\n")}) {
        zndb_.reset();
        ASSERT_TRUE(write_text(paths::kPlainFile, comment + "ssid=home\n"));
        start();
        EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
        EXPECT_EQ("home", restored("ssid")) << comment.substr(0, 9);
        EXPECT_EQ("ret 3", plain("evil")) << comment.substr(0, 9);
    }
}

/* A file that was damaged after the database had read it is not cleaned by a save. */
TEST_F(UselessStore, ABackupWarnsOfACommentThatBecomesASetting) {
    ASSERT_TRUE(write_text(paths::kPlainFile, "ssid=home\n#x\revil=1\n"));
    const ToolEnd end = kTool.run({"backup", kBackup});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(
        "zndb_tool: warning: /m_data/usr/db/user_data.txt:2: there is a CR within the line; a restore of "
        "this "
        "backup reads it differently\n",
        end.errors);
}

TEST_F(UselessStore, ABackupOfARemovedFileHasTheSettings) {
    std::filesystem::remove(paths::kPlainFile);
    EXPECT_EQ("", kTool.output_of({"backup", kBackup}));
    EXPECT_EQ("home", restored("ssid"));
}

TEST_F(UselessStore, ABackupOfAFolderInTheFilesPlaceWarns) {
    zndb_.reset();
    std::filesystem::remove(paths::kPlainFile);
    std::filesystem::create_directory(paths::kPlainFile);
    start();
    kTool.expect_failure(0,
                         "warning: can't read /m_data/usr/db/user_data.txt: Is a directory; a restore of "
                         "this backup empties the settings",
                         {"backup", kBackup});
}

TEST_F(UselessStore, ARestoreWithAPermFileOfNoUseSucceeds) {
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

TEST_F(UselessStore, ARestoreOntoAReadOnlyFlashChangesNothing) {
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

TEST_F(UselessStore, AMountedFileIsNotReset) {
    const std::string file = paths::kPlainFile;
    start_after("mount --bind " + file + " " + file);
    EXPECT_NE(0, zndb_reset());
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_TRUE(zndb_->wait_for_error("reset refused, since it could not be saved: can't replace " + file));
}

/* A reset that no save could follow. prepare: a shell command that makes the file's folder such a place. */
void UselessReset::expect_refused_after(const std::string &prepare) {
    zndb_->kill();
    ASSERT_TRUE(write_text(paths::kPlainFile, "ssid=home\nrubbish\n"));
    start_after(prepare);
    EXPECT_NE(0, zndb_reset());
    EXPECT_EQ("home", plain("ssid"));
    EXPECT_TRUE(zndb_->wait_for_error("reset refused, since it could not be saved: can't replace "));
    EXPECT_EQ("ssid=home\nrubbish\n", file_of_zndb(paths::kPlainFile));
}

const std::string kOntoTmpfs =
    "cp /m_data/usr/db/user_data.txt /tmp/user_data && mount -t tmpfs -o size=64k,nr_inodes=3 none "
    "/m_data/usr/db && mv /tmp/user_data /m_data/usr/db/user_data.txt";

TEST_F(UselessReset, OfADamagedFileIsRefusedWithoutAnInodeForItsCopy) {
    expect_refused_after(kOntoTmpfs);
}

TEST_F(UselessReset, OfADamagedFileIsRefusedWithoutRoomForTheSettings) {
    expect_refused_after(
        "cp /m_data/usr/db/user_data.txt /tmp/user_data && mount -t tmpfs -o size=8k none /m_data/usr/db && "
        "mv /tmp/user_data /m_data/usr/db/user_data.txt && head -c 4096 /dev/zero > /m_data/usr/db/full");
}

/* What could not be saved would be lost, and an emptied database left empty. */
TEST_F(UselessStore, ARestoreThatCannotSaveFirstChangesNothing) {
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

}  // namespace
