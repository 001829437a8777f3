/*
 * The accessors of the module table.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <thread>

#include "frwk_common.h"
#include "frwk_common/core/process_state.h"

namespace {

constexpr int32_t kNobody = 53;

/* Runs as the module router, with a table that is put back at the end. */
class ModuleTable : public ::testing::Test {
  protected:
    ModuleTable() {
        std::copy(std::begin(g_modules_info), std::end(g_modules_info), kept_.begin());
        become(E_APPS_MODULE_ROUTER);
    }

    ~ModuleTable() override {
        std::copy(kept_.begin(), kept_.end(), std::begin(g_modules_info));
        become(0);
    }

    static void become(int32_t id) { reset_process_state(id, nullptr); }

  private:
    std::array<frwk_module_info, FRWK_MODULE_ROWS> kept_{};
};

TEST_F(ModuleTable, NamesAModule) {
    EXPECT_STREQ("tool", frwk_module_name(0));
    EXPECT_STREQ("wlan", frwk_module_name(5));
    EXPECT_STREQ("logtool", frwk_module_name(52));
}

TEST_F(ModuleTable, AnIdOf53OrMoreNamesTheCallingModule) {
    EXPECT_STREQ("router", frwk_module_name(53));
    EXPECT_STREQ("router", frwk_module_name(1000));
    EXPECT_STREQ("router", frwk_module_name(-1));
    EXPECT_STREQ("router", frwk_module_name(INT32_MIN));
}

TEST_F(ModuleTable, AnEmptySlotHasNoNameAndNoAlias) {
    EXPECT_EQ(nullptr, frwk_module_name(40));
    EXPECT_EQ(nullptr, frwk_module_alias(46));
}

TEST_F(ModuleTable, GivesTheAlias) {
    EXPECT_STREQ("NTP", frwk_module_alias(14));
    EXPECT_STREQ("WEBS", frwk_module_alias(17));
    EXPECT_STREQ("sdk", frwk_module_alias(39));
    EXPECT_STREQ("ROUTER", frwk_module_alias(-1));
}

TEST_F(ModuleTable, FindsEveryNamedModuleFrom1To52) {
    for (int32_t id = 1; id < E_APPS_MODULE_MAX; ++id) {
        if (g_modules_info[id].name != nullptr) {
            EXPECT_EQ(id, frwk_module_id(g_modules_info[id].name));
        }
    }
}

TEST_F(ModuleTable, ToolIsNotFoundByName) {
    EXPECT_EQ(0, frwk_module_id("tool"));
}

TEST_F(ModuleTable, AnUnknownNameIs0) {
    EXPECT_EQ(0, frwk_module_id("no_such_module"));
    EXPECT_EQ(0, frwk_module_id(""));
    EXPECT_EQ(0, frwk_module_id(nullptr));
}

TEST_F(ModuleTable, NamesAreComparedByteForByte) {
    EXPECT_EQ(0, frwk_module_id("WLAN"));
    EXPECT_EQ(0, frwk_module_id("wlan "));
    EXPECT_EQ(0, frwk_module_id("wla"));
}

TEST_F(ModuleTable, TheRowBehindTheLastIdIsNeverFound) {
    g_modules_info[53].name = "behind";
    EXPECT_EQ(0, frwk_module_id("behind"));
}

TEST_F(ModuleTable, TheFirstOfTwoEqualNamesIsFound) {
    g_modules_info[40].name = "wlan";
    EXPECT_EQ(5, frwk_module_id("wlan"));
}

TEST_F(ModuleTable, GivesTheExtraArgumentsOrAnEmptyText) {
    EXPECT_STREQ("-platform linuxfb", frwk_module_cmd(E_APPS_MODULE_LCD));
    EXPECT_STREQ("-l /dev/smd7 -r /dev/ttyMSM1", frwk_module_cmd(E_APPS_MODULE_SERIAL_BRIDGE));
    EXPECT_STREQ("", frwk_module_cmd(E_APPS_MODULE_ROUTER));
    EXPECT_STREQ("", frwk_module_cmd(40));
    EXPECT_STREQ("", frwk_module_cmd(kNobody));
}

TEST_F(ModuleTable, MonitorMarksTheRowAndReturnsIt) {
    EXPECT_EQ(&g_modules_info[52], frwk_module_monitor(52));
    EXPECT_EQ(FRWK_FLAG_MONITORED, g_modules_info[52].flag);
}

TEST_F(ModuleTable, MonitorTakesTheIdAsItIs) {
    EXPECT_EQ(&g_modules_info[53], frwk_module_monitor(53));
    EXPECT_EQ(FRWK_FLAG_MONITORED, g_modules_info[53].flag);
}

TEST_F(ModuleTable, MonitorKeepsTheOtherBits) {
    frwk_module_monitor(E_APPS_MODULE_MONITOR);
    EXPECT_EQ(0x23u, g_modules_info[E_APPS_MODULE_MONITOR].flag);
}

TEST_F(ModuleTable, SetAddsBitsAndReturnsTheRow) {
    EXPECT_EQ(&g_modules_info[6], frwk_module_set(6, FRWK_FLAG_RUN | FRWK_FLAG_ADMIN));
    EXPECT_EQ(0x26u, g_modules_info[6].flag);
}

TEST_F(ModuleTable, UnsetClearsBitsAndReturnsTheRow) {
    EXPECT_EQ(&g_modules_info[5], frwk_module_unset(5, FRWK_FLAG_ADMIN | FRWK_FLAG_RUN));
    EXPECT_EQ(0x1202u, g_modules_info[5].flag);
}

TEST_F(ModuleTable, SetAndUnsetOfAnIdOutOfRangeChangeTheCallingModule) {
    EXPECT_EQ(&g_modules_info[E_APPS_MODULE_ROUTER], frwk_module_set(-1, FRWK_FLAG_RUN));
    EXPECT_EQ(0x1006u, g_modules_info[E_APPS_MODULE_ROUTER].flag);
    EXPECT_EQ(&g_modules_info[E_APPS_MODULE_ROUTER], frwk_module_unset(kNobody, FRWK_FLAG_RUN));
    EXPECT_EQ(0x1002u, g_modules_info[E_APPS_MODULE_ROUTER].flag);
}

TEST_F(ModuleTable, FeatureIsOneWhenAnyOfTheBitsIsSet) {
    EXPECT_EQ(1, frwk_module_feature(5, FRWK_FLAG_ADMIN));
    EXPECT_EQ(1, frwk_module_feature(5, FRWK_FLAG_ADMIN | FRWK_FLAG_DAEMON));
    EXPECT_EQ(1, frwk_module_feature(38, 0x4000));
    EXPECT_EQ(0, frwk_module_feature(5, FRWK_FLAG_DAEMON));
    EXPECT_EQ(0, frwk_module_feature(5, 0));
}

TEST_F(ModuleTable, MnetNeedsTheModemProcessorAndRouterDoesNot) {
    become(E_APPS_MODULE_MNET);
    EXPECT_EQ(1, frwk_module_feature(-1, 0x10));
    become(E_APPS_MODULE_ROUTER);
    EXPECT_EQ(0, frwk_module_feature(-1, 0x10));
}

TEST_F(ModuleTable, FlagSettersOfTwoThreadsLoseNoBit) {
    for (int round = 0; round < 200; ++round) {
        frwk_module_unset(6, 0x300);
        std::thread one([] { frwk_module_set(6, 0x100); });
        std::thread two([] { frwk_module_set(6, 0x200); });
        one.join();
        two.join();
        ASSERT_EQ(0x302u, g_modules_info[6].flag);
    }
}

/* With the folder of the marker files, which the device may lack. */
class DisabledModules : public ModuleTable {
  protected:
    static constexpr char kFolder[] = "/m_data/factor/apps_disable";

    DisabledModules() {
        ::mkdir("/m_data/factor", 0755);
        ::mkdir(kFolder, 0755);
    }

    ~DisabledModules() override {
        ::unlink(marker("wlan").c_str());
        ::rmdir(kFolder);
    }

    static std::string marker(const std::string &name) { return std::string(kFolder) + "/" + name; }

    static void disable(const std::string &name) {
        std::FILE *file = std::fopen(marker(name).c_str(), "w");
        ASSERT_NE(nullptr, file);
        ASSERT_EQ(0, std::fclose(file));
    }
};

TEST_F(DisabledModules, WlanIsDisabledExactlyWhileItsMarkerExists) {
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_WLAN, nullptr, 0));
    disable("wlan");
    EXPECT_EQ(1, frwk_module_disabled(E_APPS_MODULE_WLAN, nullptr, 0));
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_ROUTER, nullptr, 0));
    ::unlink(marker("wlan").c_str());
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_WLAN, nullptr, 0));
}

TEST_F(DisabledModules, NobodyIsDisabledWithoutTheFolder) {
    ::rmdir(kFolder);
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_WLAN, nullptr, 0));
}

TEST_F(DisabledModules, AnIdOutOfRangeAsksForTheCallingModule) {
    become(E_APPS_MODULE_WLAN);
    disable("wlan");
    EXPECT_EQ(1, frwk_module_disabled(-1, nullptr, 0));
}

TEST_F(DisabledModules, GivesThePathOfTheMarkerWhetherOrNotItExists) {
    char path[64];
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_WLAN, path, sizeof(path)));
    EXPECT_STREQ("/m_data/factor/apps_disable/wlan", path);
    disable("wlan");
    EXPECT_EQ(1, frwk_module_disabled(E_APPS_MODULE_WLAN, path, sizeof(path)));
    EXPECT_STREQ("/m_data/factor/apps_disable/wlan", path);
}

TEST_F(DisabledModules, CutsThePathToTheBufferAndWritesNothingBehindIt) {
    char path[] = "################################";
    frwk_module_disabled(E_APPS_MODULE_WLAN, path, 10);
    EXPECT_STREQ("/m_data/f", path);
    EXPECT_EQ('#', path[10]);
}

TEST_F(DisabledModules, ABufferWithoutRoomStaysAsItIs) {
    char path[] = "##";
    disable("wlan");
    EXPECT_EQ(1, frwk_module_disabled(E_APPS_MODULE_WLAN, path, 0));
    EXPECT_STREQ("##", path);
}

TEST_F(DisabledModules, ACutPathIsTheOneThatIsLookedFor) {
    char path[sizeof("/m_data/factor")];
    EXPECT_EQ(1, frwk_module_disabled(E_APPS_MODULE_WLAN, path, sizeof(path)));
    EXPECT_STREQ("/m_data/factor", path);
}

TEST_F(DisabledModules, AnEmptySlotIsNotDisabledByTheFolderItself) {
    EXPECT_EQ(0, frwk_module_disabled(40, nullptr, 0));
}

}  // namespace
