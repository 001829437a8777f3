/*
 * Every path of the device that the framework uses.
 */
#pragma once

namespace paths {

inline constexpr char kModuleConfig[] = "/etc/quor_apps_cfg.xml";
inline constexpr char kStartupList[] = "/etc/quor_apps_startup";
inline constexpr char kStartHook[] = "/usr/bin/apps_init";
inline constexpr char kDisabledModules[] = "/m_data/factor/apps_disable";
inline constexpr char kDataFolder[] = "/m_data";
inline constexpr char kUserFolder[] = "/m_data/usr";
inline constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
inline constexpr char kUserDatabaseFolder[] = "/m_data/usr/db";
inline constexpr char kPermanentDatabaseFolder[] = "/m_data/usr_permanent/db";
inline constexpr char kFactoryFolder[] = "/m_data/factor";
inline constexpr char kImageFolder[] = "/m_webui";
inline constexpr char kImageUserFolder[] = "/m_webui/usr";
inline constexpr char kImageDatabaseFolder[] = "/m_webui/usr/db";
inline constexpr char kJournalFolder[] = "/tmp/m_tmp/zndb";
inline constexpr char kTempFolder[] = "/tmp/m_tmp";
inline constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
inline constexpr char kSubscribeLock[] = "/tmp/m_tmp/lock/subscribe";
inline constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
inline constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
inline constexpr char kSubscribeFolderEx[] = "/m_webui/subscribe";
inline constexpr char kDebugScript[] = "/m_data/usr/debug_mode.sh";
inline constexpr char kDebugScriptOfImage[] = "/m_webui/usr/debug_mode.sh";
inline constexpr char kDebugMarker[] = "/m_data/usr/device_debug_mode";
inline constexpr char kDebugMarkerPermanent[] = "/m_data/usr_permanent/device_debug_mode";
inline constexpr char kTraceFolder[] = "/m_data/usr/trace";
inline constexpr char kTraceSwitch[] = "/m_data/usr/trace/mal_service";
inline constexpr char kTraceMaskFolder[] = "/m_data/usr/mask";
inline constexpr char kTraceMask[] = "/m_data/usr/mask/mal_service";
inline constexpr char kUserData[] = "/m_data/usr/db/user_data.txt";
inline constexpr char kWebAccounts[] = "/m_data/usr/www/auth.txt";
inline constexpr char kWebKeys[] = "/m_data/usr/www/xpsk.bin";
inline constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";
inline constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
inline constexpr char kSubnetFolder[] = "/m_webui/usr/db/subnet";
inline constexpr char kRebootReason[] = "/m_data/usr_permanent/reboot_reason";
inline constexpr char kKernelCommandLine[] = "/proc/cmdline";
inline constexpr char kNullDevice[] = "/dev/null";

}  // namespace paths
