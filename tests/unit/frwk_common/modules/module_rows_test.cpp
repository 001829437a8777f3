/*
 * The built-in module table, which every process of the device shares.
 */
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

#include "frwk_common.h"

namespace {

struct Row {
    const char *name;
    const char *alias;
    uint32_t flag;
    uint32_t facility;
    struct {
        uint32_t warn_at;
        uint32_t refuse_at;
        uint8_t pool;
        uint32_t pool_block;
        uint32_t pool_total;
    } memory;
    const char *cmd;
};

// clang-format off
constexpr Row kRows[] = {
    {"tool", "TOOL", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {"monitor", "MONITOR", 0x0021, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"zndb", "ZNDB", 0x0A4A, 14, {0, 0, 1, 4096, 16384}, nullptr},
    {"router", "ROUTER", 0x1002, 14, {0x100000, 0, 0, 0, 0}, nullptr},
    {"mnet", "MNET", 0x1812, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"wlan", "WLAN", 0x1222, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"ble", "BLE", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"dialup", "DIALUP", 0x1012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"dmp", "DMP", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"device", "DEVICE", 0x2A62, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"voice", "VOICE", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"sms", "SMS", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"dbm", "DBM", 0x0002, 14, {0x20000, 0, 1, 4096, 16384}, nullptr},
    {"statistics", "STATISTICS", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"fgntp", "NTP", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"multiupg", "MULTIUPG", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"fota", "FOTA", 0x0012, 14, {0x20000, 0, 1, 4096, 16384}, nullptr},
    {"webserver", "WEBS", 0x0022, 14, {0, 0, 1, 4096, 32768}, nullptr},
    {"tr069", "TR069", 0x0022, 14, {0, 0, 1, 4096, 16384}, nullptr},
    {"znapp", "ZNAPP", 0x00C2, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"lcd", "LCD", 0x00C2, 14, {0x20000, 0, 0, 0, 0}, "-platform linuxfb"},
    {"atfwd_daemon", "ATFWD_DAEMON", 0x2A22, 4, {0, 0, 0, 0, 0}, nullptr},
    {"oma", "OMA", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"omadm", "OMADM", 0x0002, 10, {0x20000, 0, 0, 0, 0}, nullptr},
    {"gnss", "GNSS", 0x0002, 14, {0, 0, 0, 0, 0}, nullptr},
    {"minissdpd", "MINISSDPD", 0x0122, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"miniupnpc", "MINIUPNPC", 0x0122, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"cardmatch", "CARDMATCH", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"ethbn", "ETHBN", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"toolkit", "TOOLKIT", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"atmap", "ATMAP", 0x0802, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"esim", "ESIM", 0x0012, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"hilink", "HILINK", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"udpsrv", "UDPSRV", 0x0002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"rc", "RC", 0x0242, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"bandsteer", "BANDSTEER", 0x1002, 14, {0x20000, 0, 0, 0, 0}, nullptr},
    {"notifymgr", "NOTIFYMGR", 0x0002, 4, {0, 0, 0, 0, 0}, nullptr},
    {"serial_bridge", "SERIAL_BRIDGE", 0x0002, 4, {0, 0, 0, 0, 0}, "-l /dev/smd7 -r /dev/ttyMSM1"},
    {"qmi_shutdown_modem", "QMI_SHUTDOWN_MODEM", 0x4000, 4, {0, 0, 0, 0, 0}, nullptr},
    {"start_third_app", "sdk", 0x0102, 9, {0x20000, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
    {"at_cmd_task", "AT_CMD_TASK", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {"zndb_tool", "ZNDB_TOOL", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {"apptest", "APPTEST", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {"touch_test", "TOUCH_TEST", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {"monitor_tool", "MONITOR_TOOL", 0x0020, 0, {0, 0, 0, 0, 0}, nullptr},
    {"logtool", "LOGTOOL", 0x0000, 0, {0, 0, 0, 0, 0}, nullptr},
    {nullptr, nullptr, 0, 0, {0, 0, 0, 0, 0}, nullptr},
};
// clang-format on

TEST(ModuleRows, HoldsThe54BuiltInRows) {
    ASSERT_EQ(std::size(kRows), std::size(g_modules_info));
    for (size_t id = 0; id < std::size(kRows); ++id) {
        SCOPED_TRACE(id);
        const Row &expected = kRows[id];
        const frwk_module_info &row = g_modules_info[id];
        EXPECT_STREQ(expected.name, row.name);
        EXPECT_STREQ(expected.alias, row.alias);
        EXPECT_EQ(expected.flag, row.flag);
        EXPECT_EQ(0, row.delay);
        EXPECT_EQ(expected.facility, row.facility);
        EXPECT_EQ(expected.memory.warn_at, row.memory.warn_at);
        EXPECT_EQ(expected.memory.refuse_at, row.memory.refuse_at);
        EXPECT_EQ(expected.memory.pool, row.memory.pool);
        EXPECT_EQ(expected.memory.pool_block, row.memory.pool_block);
        EXPECT_EQ(expected.memory.pool_total, row.memory.pool_total);
        EXPECT_STREQ(expected.cmd, row.cmd);
    }
}

TEST(ModuleRows, NoNameStandsTwice) {
    std::set<std::string> names;
    for (const frwk_module_info &row : g_modules_info) {
        if (row.name != nullptr) {
            EXPECT_TRUE(names.insert(row.name).second) << row.name;
        }
    }
}

TEST(ModuleRows, FlagBitsKeepTheirValues) {
    EXPECT_EQ(0x001u, FRWK_FLAG_DAEMON);
    EXPECT_EQ(0x002u, FRWK_FLAG_MONITORED);
    EXPECT_EQ(0x004u, FRWK_FLAG_RUN);
    EXPECT_EQ(0x008u, FRWK_FLAG_BLOCK);
    EXPECT_EQ(0x010u, FRWK_FLAG_MPSS);
    EXPECT_EQ(0x020u, FRWK_FLAG_ADMIN);
    EXPECT_EQ(0x040u, FRWK_FLAG_POWEROFF);
    EXPECT_EQ(0x080u, FRWK_FLAG_PRESTART);
    EXPECT_EQ(0x100u, FRWK_FLAG_EXTERNAL);
    EXPECT_EQ(0x200u, FRWK_FLAG_PSEUDO);
}

TEST(ModuleRows, TheModuleBoundsAre0And53) {
    EXPECT_EQ(0, E_APPS_MODULE_MIN);
    EXPECT_EQ(53, E_APPS_MODULE_MAX);
}

TEST(ModuleRows, AnIdentifierIsNamedAfterItsModule) {
    EXPECT_STREQ("monitor", g_modules_info[E_APPS_MODULE_MONITOR].name);
    EXPECT_STREQ("zndb", g_modules_info[E_APPS_MODULE_ZNDB].name);
    EXPECT_STREQ("webserver", g_modules_info[E_APPS_MODULE_WEBSERVER].name);
    EXPECT_STREQ("tr069", g_modules_info[E_APPS_MODULE_TR069].name);
    EXPECT_STREQ("oma", g_modules_info[E_APPS_MODULE_OMA].name);
    EXPECT_STREQ("gnss", g_modules_info[E_APPS_MODULE_GNSS].name);
    EXPECT_STREQ("start_third_app", g_modules_info[E_APPS_MODULE_START_THIRD_APP].name);
    EXPECT_STREQ("logtool", g_modules_info[E_APPS_MODULE_LOGTOOL].name);
}

/* Words and pointers without gaps but the pool byte's, so that records built for a 32-bit device fit. */
TEST(ModuleRows, ARecordIsElevenWords) {
    constexpr size_t kPointer = sizeof(void *);
    EXPECT_EQ(20u, sizeof(frwk_module_memory));
    EXPECT_EQ(0u, offsetof(frwk_module_info, name));
    EXPECT_EQ(kPointer, offsetof(frwk_module_info, alias));
    EXPECT_EQ(2 * kPointer, offsetof(frwk_module_info, flag));
    EXPECT_EQ(2 * kPointer + 4, offsetof(frwk_module_info, delay));
    EXPECT_EQ(2 * kPointer + 8, offsetof(frwk_module_info, facility));
    EXPECT_EQ(2 * kPointer + 12, offsetof(frwk_module_info, memory));
    EXPECT_EQ(2 * kPointer + 32, offsetof(frwk_module_info, cmd));
    EXPECT_EQ(3 * kPointer + 32, sizeof(frwk_module_info));
}

}  // namespace
