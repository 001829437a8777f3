/*
 * Every path of the device: of the framework, the database service and the tools. Other files append
 * a module's or an event's name to one of these folders, and nothing else.
 *
 * Two libraries keep paths of their own. The base library, which knows nothing of what is built on it, has
 * those of its keys and of the system log; the simulated modem, which a device replaces, has that of its
 * file.
 */
#pragma once

namespace paths {

/* ---- configuration and programs of the image ---- */

inline constexpr char kModuleConfig[] = "/etc/quor_apps_cfg.xml";
inline constexpr char kStartupList[] = "/etc/quor_apps_startup";
inline constexpr char kStartHook[] = "/usr/bin/apps_init";

/* ---- stores of the configuration database ---- */

inline constexpr char kPlainFile[] = "/m_data/usr/db/user_data.txt";
inline constexpr char kPermFile[] = "/m_data/usr_permanent/db/perm_data.txt";
inline constexpr char kDefaultsFile[] = "/m_webui/usr/db/default_data.txt";
inline constexpr char kFactoryFile[] = "/m_data/factor/factor_data.txt";

/* The way back from settings that are not confirmed, and, with a dot and a number, copies of other files. */
inline constexpr char kWayBackFile[] = "/m_data/usr/db/way_back.txt";

/* On tmpfs: outlives the service, not the power. */
inline constexpr char kJournalFolder[] = "/tmp/m_tmp/zndb";
inline constexpr char kPlainJournal[] = "/tmp/m_tmp/zndb/journal.plain";
inline constexpr char kPermJournal[] = "/tmp/m_tmp/zndb/journal.perm";
inline constexpr char kFactoryJournal[] = "/tmp/m_tmp/zndb/journal.factory";

/* The batch that is being carried out. */
inline constexpr char kBatchFile[] = "/tmp/m_tmp/zndb/journal.batch";

/* There while everything on trial is put back, but the way back is not removed yet. */
inline constexpr char kPutBackMark[] = "/tmp/m_tmp/zndb/put_back";

/* Of a service that had one journal for all stores. */
inline constexpr char kOldJournal[] = "/tmp/m_tmp/zndb/journal";

/* All settings in shared memory: mapped by the service, and by clients to read. */
inline constexpr char kViewFile[] = "/tmp/m_tmp/zndb/view";

/* Added to a file's path while its successor is being written. */
inline constexpr char kTemporarySuffix[] = ".tmp";

/* Added to the path of a store's file: the file before the last save, and those that were set aside. */
inline constexpr char kPreviousSuffix[] = ".previous";
inline constexpr char kDamagedMark[] = ".damaged-";

/* ---- what users set, and what outlives their reset ---- */

inline constexpr char kDataFolder[] = "/m_data";
inline constexpr char kUserFolder[] = "/m_data/usr";
inline constexpr char kUserDatabaseFolder[] = "/m_data/usr/db";
inline constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
inline constexpr char kPermanentDatabaseFolder[] = "/m_data/usr_permanent/db";
inline constexpr char kFactoryFolder[] = "/m_data/factor";
inline constexpr char kWebAccounts[] = "/m_data/usr/www/auth.txt";
inline constexpr char kWebKeys[] = "/m_data/usr/www/xpsk.bin";
inline constexpr char kDataManager[] = "/m_data/usr/dbm/database.db";
inline constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
inline constexpr char kRebootReason[] = "/m_data/usr_permanent/reboot_reason";

/* A module doesn't start if a file with its name is here. */
inline constexpr char kDisabledModules[] = "/m_data/factor/apps_disable";

/* ---- the image's own data ---- */

inline constexpr char kImageFolder[] = "/m_webui";
inline constexpr char kImageUserFolder[] = "/m_webui/usr";
inline constexpr char kImageDatabaseFolder[] = "/m_webui/usr/db";
inline constexpr char kSubnetFolder[] = "/m_webui/usr/db/subnet";

/* ---- between processes ---- */

inline constexpr char kSharedTempFolder[] = "/tmp";
inline constexpr char kTempFolder[] = "/tmp/m_tmp";

/* A module's lock and its socket have its name. */
inline constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
inline constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
inline constexpr char kZndbLock[] = "/tmp/m_tmp/lock/zndb";
inline constexpr char kZndbSocket[] = "/tmp/m_tmp/ipc/zndb";

/* An event's file has the name of its key. The second folder counts while the first is missing. */
inline constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
inline constexpr char kSubscribeFolderEx[] = "/m_webui/subscribe";
inline constexpr char kSubscribeLock[] = "/tmp/m_tmp/lock/subscribe";

/* ---- debug mode, trace and log ---- */

inline constexpr char kDebugScript[] = "/m_data/usr/debug_mode.sh";
inline constexpr char kDebugScriptOfImage[] = "/m_webui/usr/debug_mode.sh";
inline constexpr char kDebugMarker[] = "/m_data/usr/device_debug_mode";
inline constexpr char kDebugMarkerPermanent[] = "/m_data/usr_permanent/device_debug_mode";

/* A module is traced if a file with its name is here. */
inline constexpr char kTraceFolder[] = "/m_data/usr/trace";
inline constexpr char kTraceSwitch[] = "/m_data/usr/trace/mal_service";
inline constexpr char kTraceMaskFolder[] = "/m_data/usr/mask";
inline constexpr char kTraceMask[] = "/m_data/usr/mask/mal_service";

/* Where a log daemon writes: the first that is there is read. */
inline constexpr const char *kLogFiles[] = {"/var/log/messages", "/var/log/syslog"};

/* ---- the kernel's ---- */

inline constexpr char kProcessFolder[] = "/proc";
inline constexpr char kOwnDescriptors[] = "/proc/self/fd";
inline constexpr char kOwnMemory[] = "/proc/self/statm";
inline constexpr char kKernelCommandLine[] = "/proc/cmdline";
inline constexpr char kLockTable[] = "/proc/locks";
inline constexpr char kNullDevice[] = "/dev/null";

}  // namespace paths
