/*
 * The debug mode: its setting, its markers and its script, in this order. Markers and scripts are real ones
 * in the device tree.
 */
#include "frwk_utils/settings/debug_mode.h"

#include <sys/stat.h>

#include <filesystem>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_utils.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kSetting[] = "device_debug_mode";
constexpr char kRomMarker[] = "/m_data/usr/device_debug_mode";
constexpr char kPermMarker[] = "/m_data/usr_permanent/device_debug_mode";
constexpr char kScript[] = "/m_data/usr/debug_mode.sh";
constexpr char kSecondScript[] = "/m_webui/usr/debug_mode.sh";

const std::string kStart = std::string(kScript) + " start";
const std::string kStop = std::string(kScript) + " stop";

using Steps = std::vector<std::string>;

class DebugModeTest : public ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        std::filesystem::create_directories("/m_data/usr_permanent");
        std::filesystem::create_directories("/m_webui/usr");
        std::filesystem::create_directories("/m_data/usr");
        for (const char *path : {kRomMarker, kPermMarker, kScript, kSecondScript}) {
            remove_node(path);
        }
        libc::sync.stand_in([this] { steps_.emplace_back("sync"); });
        base::os_system.stand_in([this](const char *command) {
            steps_.emplace_back(command);
            return base::os_system.real(command);
        });
    }

    static void write_script(const std::string &path, const std::string &body = "exit 0") {
        write_file(path, "#!/bin/sh\n" + body + "\n");
        (void)chmod(path.c_str(), 0755);
    }

    /* The commands that were run and the syncs, in order. */
    Steps steps_;
};

}  // namespace

/* ---- Script ---------------------------------------------------------------------------------------- */

TEST_F(DebugModeTest, RunsTheFirstScriptThatExists) {
    write_script(kScript);
    write_script(kSecondScript);
    EXPECT_EQ(0, settings::run_debug_script(1));
    EXPECT_EQ(0, settings::run_debug_script(0));
    EXPECT_EQ((Steps{kStart, kStop}), steps_);
}

TEST_F(DebugModeTest, RunsTheScriptOfTheImageWhenThereIsNoOther) {
    write_script(kSecondScript);
    EXPECT_EQ(0, settings::run_debug_script(-1));
    EXPECT_EQ((Steps{std::string(kSecondScript) + " start"}), steps_);
}

TEST_F(DebugModeTest, WithoutAScriptNothingIsRun) {
    EXPECT_EQ(1, settings::run_debug_script(1));
    EXPECT_EQ(Steps(), steps_);
}

TEST_F(DebugModeTest, PassesOnHowTheScriptEnded) {
    write_script(kScript, "[ \"$1\" = stop ] && exit 3");
    EXPECT_EQ(3, WEXITSTATUS(settings::run_debug_script(0)));
}

TEST_F(DebugModeTest, LogsTheCommandAtTheDebugLevel) {
    write_script(kScript);
    const LogCapture log;
    (void)settings::run_debug_script(1);
    EXPECT_TRUE(logged_once(log, kDebugLevel, "frwk_debug_mode_shell", kStart));
}

/* ---- Start-up -------------------------------------------------------------------------------------- */

TEST_F(DebugModeTest, StaysOffAtStartUpWithoutAMarker) {
    write_script(kScript);
    EXPECT_EQ(1, frwk_debug_mode_init());
    EXPECT_EQ("(none)", stored(kSetting));
    EXPECT_EQ(Steps(), steps_);
}

TEST_F(DebugModeTest, ComesBackAtStartUpWithEitherMarker) {
    write_script(kScript);
    for (const char *marker : {kRomMarker, kPermMarker}) {
        database().plain.clear();
        steps_.clear();
        write_file(marker, "");
        EXPECT_EQ(1, frwk_debug_mode_init());
        EXPECT_EQ("true", stored(kSetting)) << marker;
        EXPECT_EQ((Steps{kStart}), steps_) << marker;
        EXPECT_TRUE(exists(marker));
        remove_node(marker);
    }
}

TEST_F(DebugModeTest, WithBothMarkersTheScriptRunsOnce) {
    write_script(kScript);
    write_file(kRomMarker, "");
    write_file(kPermMarker, "");
    EXPECT_EQ(1, frwk_debug_mode_init());
    EXPECT_EQ((Steps{kStart}), steps_);
    EXPECT_EQ(1u, database().requests.size());
}

TEST_F(DebugModeTest, ComesBackAtStartUpEvenWithoutTheDatabase) {
    write_script(kScript);
    write_file(kPermMarker, "");
    database().result = E_ZNDB_RET_IPC;
    EXPECT_EQ(1, frwk_debug_mode_init());
    EXPECT_EQ((Steps{kStart}), steps_);
}

/* ---- Setting the mode ------------------------------------------------------------------------------ */

TEST_F(DebugModeTest, SwitchedOffItForgetsBothMarkersWhateverTheMode) {
    write_script(kScript);
    for (const char *mode : {static_cast<const char *>(nullptr), "", "ram", "rom", "perm", "flash"}) {
        steps_.clear();
        write_file(kRomMarker, "");
        write_file(kPermMarker, "");
        EXPECT_EQ(1, frwk_debug_mode_set(0, mode));
        EXPECT_EQ("false", stored(kSetting));
        EXPECT_EQ(
            (Steps{std::string("rm -f ") + kRomMarker, std::string("rm -f ") + kPermMarker, "sync", kStop}),
            steps_);
        EXPECT_FALSE(exists(kRomMarker));
        EXPECT_FALSE(exists(kPermMarker));
    }
}

TEST_F(DebugModeTest, UntilTheNextRebootItForgetsBothMarkers) {
    write_script(kScript);
    for (const char *mode : {static_cast<const char *>(nullptr), "", "ram"}) {
        steps_.clear();
        write_file(kPermMarker, "");
        EXPECT_EQ(1, frwk_debug_mode_set(7, mode));
        EXPECT_EQ("true", stored(kSetting));
        EXPECT_EQ((Steps{std::string("rm -f ") + kPermMarker, "sync", kStart}), steps_);
    }
}

TEST_F(DebugModeTest, TheModeRamMayBeWrittenInUpperCase) {
    write_script(kScript);
    write_file(kRomMarker, "");
    write_file(kPermMarker, "");
    EXPECT_EQ(1, frwk_debug_mode_set(1, "RAM"));
    EXPECT_EQ(
        (Steps{std::string("rm -f ") + kRomMarker, std::string("rm -f ") + kPermMarker, "sync", kStart}),
        steps_);
}

TEST_F(DebugModeTest, WithoutMarkersThereIsNothingToForgetAndNoSync) {
    write_script(kScript);
    EXPECT_EQ(1, frwk_debug_mode_set(0, nullptr));
    EXPECT_EQ((Steps{kStop}), steps_);
}

TEST_F(DebugModeTest, TheModeRomLeavesItsMarker) {
    write_script(kScript);
    EXPECT_EQ(1, frwk_debug_mode_set(1, "rom"));
    EXPECT_EQ((Steps{std::string("touch ") + kRomMarker, "sync", kStart}), steps_);
    EXPECT_TRUE(exists(kRomMarker));
    EXPECT_FALSE(exists(kPermMarker));
}

TEST_F(DebugModeTest, TheModePermLeavesItsMarker) {
    write_script(kScript);
    EXPECT_EQ(1, frwk_debug_mode_set(1, "Perm"));
    EXPECT_EQ((Steps{std::string("touch ") + kPermMarker, "sync", kStart}), steps_);
    EXPECT_TRUE(exists(kPermMarker));
    EXPECT_FALSE(exists(kRomMarker));
}

TEST_F(DebugModeTest, AModeDoesNotTakeTheOtherOnesMarker) {
    write_file(kPermMarker, "");
    EXPECT_EQ(1, frwk_debug_mode_set(1, "rom"));
    EXPECT_TRUE(exists(kPermMarker));
    EXPECT_TRUE(exists(kRomMarker));
}

TEST_F(DebugModeTest, TheModeFlashLeavesTheMarkersAndNeedsNoSync) {
    write_script(kScript);
    write_file(kRomMarker, "");
    EXPECT_EQ(1, frwk_debug_mode_set(1, "flash"));
    EXPECT_EQ("true", stored(kSetting));
    EXPECT_EQ((Steps{kStart}), steps_);
    EXPECT_TRUE(exists(kRomMarker));
    EXPECT_FALSE(exists(kPermMarker));
}

TEST_F(DebugModeTest, AScriptThatFailsLeavesTheSettingAndTheMarker) {
    write_script(kScript, "exit 1");
    EXPECT_EQ(1, frwk_debug_mode_set(1, "rom"));
    EXPECT_EQ("true", stored(kSetting));
    EXPECT_TRUE(exists(kRomMarker));
}

TEST_F(DebugModeTest, AScriptThatCannotBeRunLeavesTheSettingAndTheMarker) {
    write_file(kScript, "no program");
    (void)chmod(kScript, 0644);
    EXPECT_EQ(1, frwk_debug_mode_set(1, "perm"));
    EXPECT_EQ("true", stored(kSetting));
    EXPECT_TRUE(exists(kPermMarker));
}

TEST_F(DebugModeTest, WithoutAScriptTheModeIsSetAllTheSame) {
    EXPECT_EQ(1, frwk_debug_mode_set(1, nullptr));
    EXPECT_EQ("true", stored(kSetting));
    EXPECT_EQ(Steps(), steps_);
}

TEST_F(DebugModeTest, DoesNothingWhenTheDatabaseRefuses) {
    write_script(kScript);
    write_file(kRomMarker, "");
    database().result = E_ZNDB_RET_IPC;
    const LogCapture log;
    EXPECT_EQ(0, frwk_debug_mode_set(5, "ram"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_debug_mode_set", "zndb set debugmode=5 failed!"));
    EXPECT_EQ(Steps(), steps_);
    EXPECT_TRUE(exists(kRomMarker));
}
