/*
 * What the database saves by itself, and what it doesn't: before a reboot, a shutdown and a power-off.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "support/checked_file.h"
#include "support/wait_until.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kPlainFile = "/m_data/usr/db/user_data.txt";
const std::string kPermFile = "/m_data/usr_permanent/db/perm_data.txt";
const std::string kFactoryFile = "/m_data/factor/factor_data.txt";
const std::string kJournalFile = "/tmp/m_tmp/zndb/journal.plain";
constexpr char kDebugKey[] = "device_debug_mode";

class ZndbPowerOff : public ZndbTest {
  protected:
    /* A change in each of the stores. */
    static void change_all() {
        EXPECT_EQ(0, zndb_set("k", "v"));
        EXPECT_EQ(0, zndb_set_perm_data("pk", "pv"));
        EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("fk", "fv")));
    }

    static void expect_all() {
        EXPECT_EQ("v", plain("k"));
        EXPECT_EQ("pv", perm("pk"));
        EXPECT_EQ("fv", def("fk"));
    }
};

TEST_F(ZndbPowerOff, ARebootAndAShutdownSaveEveryStore) {
    for (const int32_t msgid : {E_APPS_MSG_SYS_REBOOT, E_APPS_MSG_SYS_SHUTDOWN}) {
        for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
            std::filesystem::remove(path);
        }
        start();
        change_all();
        come_up_after(msgid);
        expect_all();
        end_by(E_APPS_MSG_SYS_EXIT);
    }
}

TEST_F(ZndbPowerOff, ThePowerOffNoticeIsAnsweredWhenEveryStoreIsSaved) {
    start();
    change_all();
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, ""));
    EXPECT_EQ("k=v\n", checked_lines(file_text(kPlainFile)));
    EXPECT_EQ("pk=pv\n", checked_lines(file_text(kPermFile)));
    EXPECT_EQ("fk=fv\n", checked_lines(file_text(kFactoryFile)));
    EXPECT_EQ(0, zndb_set("k", "later")) << "the device may stay on after all";
    cut_power();
    expect_all();
}

TEST_F(ZndbPowerOff, AResetSavesNothing) {
    ASSERT_TRUE(write_text(kPlainFile, "k=old\n"));
    start();
    change_all();
    come_up_after(E_APPS_MSG_SYS_RESET);
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ("ret 3", perm("pk"));
    EXPECT_EQ("ret 3", def("fk"));
}

TEST_F(ZndbPowerOff, AnExitLeavesTheFilesAloneAndTheChangesInTheJournal) {
    ASSERT_TRUE(write_text(kPlainFile, "# by hand\nk=old\n"));
    start();
    change_all();
    end_by(E_APPS_MSG_SYS_EXIT);
    EXPECT_EQ("# by hand\nk=old\n", file_text(kPlainFile));
    EXPECT_FALSE(std::filesystem::exists(kPermFile));
    EXPECT_EQ("P+k=v\n", file_text(kJournalFile));
    EXPECT_EQ("M+pk=pv\n", file_text("/tmp/m_tmp/zndb/journal.perm"));
    EXPECT_EQ("F+fk=fv\n", file_text("/tmp/m_tmp/zndb/journal.factory"));
    start();
    expect_all();
}

TEST_F(ZndbPowerOff, ASaveThatFailsBeforeARebootIsLoggedAndTheServiceEnds) {
    start_after("mkdir -p /m_data/usr/db && mount -t tmpfs -o ro tmpfs /m_data/usr/db");
    change_all();
    end_by(E_APPS_MSG_SYS_REBOOT);
    EXPECT_TRUE(zndb_->wait_for_error("can't save /m_data/usr/db/user_data.txt errno=30")) << zndb_->errors();
    EXPECT_EQ("pk=pv\n", checked_lines(file_text(kPermFile)));
    EXPECT_EQ("fk=fv\n", checked_lines(file_text(kFactoryFile)));
}

/* The service thread takes the message while the main thread is in the start hook. */
TEST_F(ZndbPowerOff, ARebootBeforeTheServiceHasLoadedItsFilesSavesTheJournal) {
    const HeldStart held;
    std::filesystem::create_directories("/tmp/m_tmp/zndb");
    ASSERT_TRUE(write_text(kJournalFile, "P+k=v\n"));
    start_held();
    end_by(E_APPS_MSG_SYS_REBOOT);
    EXPECT_EQ("k=v\n", checked_lines(file_text(kPlainFile)));
}

/* ---- Debug mode, which lasts until the reboot ------------------------------------------------------- */

class DebugModeReboot : public ZndbPowerOff {
  protected:
    void reboot() { come_up_after(E_APPS_MSG_SYS_REBOOT); }
};

TEST_F(DebugModeReboot, InRamItEndsWithTheReboot) {
    start();
    EXPECT_EQ(1, frwk_debug_mode_set(1, "ram"));
    EXPECT_EQ(0, zndb_set("k", "v"));
    reboot();
    EXPECT_EQ("ret 3", plain(kDebugKey));
    EXPECT_EQ("v", plain("k"));
}

TEST_F(DebugModeReboot, InRamItEndsWithAShutdownAndWithTheNoticeBeforeIt) {
    ASSERT_TRUE(write_text(kPlainFile, "device_debug_mode=false\n"));
    start();
    EXPECT_EQ(1, frwk_debug_mode_set(1, "ram"));
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, ""));
    EXPECT_EQ("true", plain(kDebugKey));
    restart();
    EXPECT_EQ("true", plain(kDebugKey)) << "only a reboot ends it";
    come_up_after(E_APPS_MSG_SYS_SHUTDOWN);
    EXPECT_EQ("false", plain(kDebugKey));
}

TEST_F(DebugModeReboot, SwitchedOffItStaysOff) {
    ASSERT_TRUE(write_text(kPlainFile, "device_debug_mode=true\n"));
    start();
    EXPECT_EQ(1, frwk_debug_mode_set(0, nullptr));
    reboot();
    EXPECT_EQ("false", plain(kDebugKey));
}

TEST_F(DebugModeReboot, SavedByAClientItStaysOn) {
    start();
    EXPECT_EQ(1, frwk_debug_mode_set(1, "ram"));
    EXPECT_EQ(0, zndb_save());
    reboot();
    EXPECT_EQ("true", plain(kDebugKey));
}

TEST_F(DebugModeReboot, KeptInRomTheStartSetsItAgain) {
    start();
    EXPECT_EQ(1, frwk_debug_mode_set(1, "rom"));
    reboot();
    EXPECT_EQ("ret 3", plain(kDebugKey));
    EXPECT_EQ(1, frwk_debug_mode_init());
    EXPECT_EQ("true", plain(kDebugKey));
    std::filesystem::remove("/m_data/usr/device_debug_mode");
}

}  // namespace
