/*
 * Every path that the database service uses.
 */
#pragma once

namespace zndb_paths {

inline constexpr char kPlainFile[] = "/m_data/usr/db/user_data.txt";
inline constexpr char kPermFile[] = "/m_data/usr_permanent/db/perm_data.txt";
inline constexpr char kDefaultsFile[] = "/m_webui/usr/db/default_data.txt";
inline constexpr char kFactoryFile[] = "/m_data/factor/factor_data.txt";

/* On tmpfs: survives the service, but not a power cut. */
inline constexpr char kJournalFile[] = "/tmp/m_tmp/zndb/journal";

/* The lock and the socket, which the framework creates for the module. */
inline constexpr char kLockFile[] = "/tmp/m_tmp/lock/zndb";
inline constexpr char kSocketFile[] = "/tmp/m_tmp/ipc/zndb";

/* Suffix of a temporary file. */
inline constexpr char kTemporarySuffix[] = ".tmp";

}  // namespace zndb_paths
