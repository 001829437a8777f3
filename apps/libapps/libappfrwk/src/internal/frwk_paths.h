/*
 * Every path of the device that the framework uses.
 */
#pragma once

namespace paths {

inline constexpr char kModuleConfig[] = "/etc/quor_apps_cfg.xml";
inline constexpr char kStartupList[] = "/etc/quor_apps_startup";
inline constexpr char kStartHook[] = "/usr/bin/apps_init";
inline constexpr char kDisabledModules[] = "/m_data/factor/apps_disable";
inline constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
inline constexpr char kSubscribeLock[] = "/tmp/m_tmp/lock/subscribe";
inline constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
inline constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
inline constexpr char kSubscribeFolderEx[] = "/m_webui/subscribe";
inline constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

}  // namespace paths
