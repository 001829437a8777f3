/*
 * The built-in module table: one row per module. The row's number is the module's id, in the comment after
 * each row.
 */
#include "frwk_module.h"

namespace {

/* Memory settings: warn-at, refuse-at, pool, pool block, pool total. */
constexpr frwk_module_memory kNoMemorySettings = {0, 0, 0, 0, 0};
constexpr frwk_module_memory kWarn128K = {0x20000, 0, 0, 0, 0};
constexpr frwk_module_memory kWarn1M = {0x100000, 0, 0, 0, 0};
constexpr frwk_module_memory kPool16K = {0, 0, 1, 4096, 16384};
constexpr frwk_module_memory kPool32K = {0, 0, 1, 4096, 32768};
constexpr frwk_module_memory kWarn128KPool16K = {0x20000, 0, 1, 4096, 16384};

/* Log facilities. */
constexpr uint32_t kNone = 0;
constexpr uint32_t kDaemon = 4;
constexpr uint32_t kLocal2 = 9;
constexpr uint32_t kLocal3 = 10;
constexpr uint32_t kLocal7 = 14;

}  // namespace

/* name, alias, flag, delay, facility, memory, cmd */
// clang-format off
frwk_module_info g_modules_info[FRWK_MODULE_ROWS] = {
    {"tool", "TOOL", 0, 0, kNone, kNoMemorySettings, nullptr},  // 0
    {"monitor", "MONITOR", FRWK_FLAG_DAEMON | FRWK_FLAG_ADMIN, 0, kLocal7, kWarn128K, nullptr},  // 1
    {"zndb", "ZNDB", FRWK_FLAG_MONITORED | FRWK_FLAG_BLOCK | FRWK_FLAG_POWEROFF | FRWK_FLAG_PSEUDO | 0x0800u, 0, kLocal7, kPool16K, nullptr},  // 2
    {"router", "ROUTER", FRWK_FLAG_MONITORED | 0x1000u, 0, kLocal7, kWarn1M, nullptr},  // 3
    {"mnet", "MNET", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS | 0x0800u | 0x1000u, 0, kLocal7, kWarn128K, nullptr},  // 4
    {"wlan", "WLAN", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN | FRWK_FLAG_PSEUDO | 0x1000u, 0, kLocal7, kWarn128K, nullptr},  // 5
    {"ble", "BLE", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 6
    {"dialup", "DIALUP", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS | 0x1000u, 0, kLocal7, kWarn128K, nullptr},  // 7
    {"dmp", "DMP", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 8
    {"device", "DEVICE", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN | FRWK_FLAG_POWEROFF | FRWK_FLAG_PSEUDO | 0x0800u | 0x2000u, 0, kLocal7, kWarn128K, nullptr},  // 9
    {"voice", "VOICE", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 10
    {"sms", "SMS", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 11
    {"dbm", "DBM", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128KPool16K, nullptr},  // 12
    {"statistics", "STATISTICS", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 13
    {"fgntp", "NTP", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 14
    {"multiupg", "MULTIUPG", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 15
    {"fota", "FOTA", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128KPool16K, nullptr},  // 16
    {"webserver", "WEBS", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN, 0, kLocal7, kPool32K, nullptr},  // 17
    {"tr069", "TR069", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN, 0, kLocal7, kPool16K, nullptr},  // 18
    {"znapp", "ZNAPP", FRWK_FLAG_MONITORED | FRWK_FLAG_POWEROFF | FRWK_FLAG_PRESTART, 0, kLocal7, kWarn128K, nullptr},  // 19
    {"lcd", "LCD", FRWK_FLAG_MONITORED | FRWK_FLAG_POWEROFF | FRWK_FLAG_PRESTART, 0, kLocal7, kWarn128K, "-platform linuxfb"},  // 20
    {"atfwd_daemon", "ATFWD_DAEMON", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN | FRWK_FLAG_PSEUDO | 0x0800u | 0x2000u, 0, kDaemon, kNoMemorySettings, nullptr},  // 21
    {"oma", "OMA", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 22
    {"omadm", "OMADM", FRWK_FLAG_MONITORED, 0, kLocal3, kWarn128K, nullptr},  // 23
    {"gnss", "GNSS", FRWK_FLAG_MONITORED, 0, kLocal7, kNoMemorySettings, nullptr},  // 24
    {"minissdpd", "MINISSDPD", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN | FRWK_FLAG_EXTERNAL, 0, kLocal7, kWarn128K, nullptr},  // 25
    {"miniupnpc", "MINIUPNPC", FRWK_FLAG_MONITORED | FRWK_FLAG_ADMIN | FRWK_FLAG_EXTERNAL, 0, kLocal7, kWarn128K, nullptr},  // 26
    {"cardmatch", "CARDMATCH", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 27
    {"ethbn", "ETHBN", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 28
    {"toolkit", "TOOLKIT", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 29
    {"atmap", "ATMAP", FRWK_FLAG_MONITORED | 0x0800u, 0, kLocal7, kWarn128K, nullptr},  // 30
    {"esim", "ESIM", FRWK_FLAG_MONITORED | FRWK_FLAG_MPSS, 0, kLocal7, kWarn128K, nullptr},  // 31
    {"hilink", "HILINK", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 32
    {"udpsrv", "UDPSRV", FRWK_FLAG_MONITORED, 0, kLocal7, kWarn128K, nullptr},  // 33
    {"rc", "RC", FRWK_FLAG_MONITORED | FRWK_FLAG_POWEROFF | FRWK_FLAG_PSEUDO, 0, kLocal7, kWarn128K, nullptr},  // 34
    {"bandsteer", "BANDSTEER", FRWK_FLAG_MONITORED | 0x1000u, 0, kLocal7, kWarn128K, nullptr},  // 35
    {"notifymgr", "NOTIFYMGR", FRWK_FLAG_MONITORED, 0, kDaemon, kNoMemorySettings, nullptr},  // 36
    {"serial_bridge", "SERIAL_BRIDGE", FRWK_FLAG_MONITORED, 0, kDaemon, kNoMemorySettings, "-l /dev/smd7 -r /dev/ttyMSM1"},  // 37
    {"qmi_shutdown_modem", "QMI_SHUTDOWN_MODEM", 0x4000u, 0, kDaemon, kNoMemorySettings, nullptr},  // 38
    {"start_third_app", "sdk", FRWK_FLAG_MONITORED | FRWK_FLAG_EXTERNAL, 0, kLocal2, kWarn128K, nullptr},  // 39
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 40
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 41
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 42
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 43
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 44
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 45
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 46
    {"at_cmd_task", "AT_CMD_TASK", 0, 0, kNone, kNoMemorySettings, nullptr},  // 47
    {"zndb_tool", "ZNDB_TOOL", 0, 0, kNone, kNoMemorySettings, nullptr},  // 48
    {"apptest", "APPTEST", 0, 0, kNone, kNoMemorySettings, nullptr},  // 49
    {"touch_test", "TOUCH_TEST", 0, 0, kNone, kNoMemorySettings, nullptr},  // 50
    {"monitor_tool", "MONITOR_TOOL", FRWK_FLAG_ADMIN, 0, kNone, kNoMemorySettings, nullptr},  // 51
    {"logtool", "LOGTOOL", 0, 0, kNone, kNoMemorySettings, nullptr},  // 52
    {nullptr, nullptr, 0, 0, 0, kNoMemorySettings, nullptr},  // 53
};
// clang-format on
