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
inline constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
inline constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

}  // namespace paths
