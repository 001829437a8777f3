/*
 * The paths are part of the interface: the image, the factory and other programs use them too.
 */
#include "formats/device_paths.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

/* Whether a path names an entry of a folder. */
bool lies_in(std::string_view folder, std::string_view path) {
    return path.substr(0, folder.size()) == folder && path.size() > folder.size() &&
           path.find_first_of('/', folder.size()) == folder.size();
}

}  // namespace

TEST(DevicePaths, StoresAndJournalAreThese) {
    EXPECT_STREQ("/m_data/usr/db/user_data.txt", paths::kPlainFile);
    EXPECT_STREQ("/m_data/usr_permanent/db/perm_data.txt", paths::kPermFile);
    EXPECT_STREQ("/m_webui/usr/db/default_data.txt", paths::kDefaultsFile);
    EXPECT_STREQ("/m_data/factor/factor_data.txt", paths::kFactoryFile);
    EXPECT_STREQ("/tmp/m_tmp/zndb/journal.plain", paths::kPlainJournal);
    EXPECT_STREQ("/tmp/m_tmp/zndb/journal.perm", paths::kPermJournal);
    EXPECT_STREQ("/tmp/m_tmp/zndb/journal.factory", paths::kFactoryJournal);
    EXPECT_STREQ("/tmp/m_tmp/zndb/journal", paths::kOldJournal);
    EXPECT_STREQ(".tmp", paths::kTemporarySuffix);
}

TEST(DevicePaths, ConfigurationIsHere) {
    EXPECT_STREQ("/etc/quor_apps_cfg.xml", paths::kModuleConfig);
    EXPECT_STREQ("/etc/quor_apps_startup", paths::kStartupList);
    EXPECT_STREQ("/usr/bin/apps_init", paths::kStartHook);
    EXPECT_STREQ("/m_data/factor/apps_disable", paths::kDisabledModules);
    EXPECT_STREQ("/m_webui/usr/db/subnet", paths::kSubnetFolder);
}

TEST(DevicePaths, ModulesMeetHere) {
    EXPECT_STREQ("/tmp/m_tmp/lock", paths::kLockFolder);
    EXPECT_STREQ("/tmp/m_tmp/ipc", paths::kIpcFolder);
    EXPECT_STREQ("/m_data/usr/subscribe", paths::kSubscribeFolder);
    EXPECT_STREQ("/m_webui/subscribe", paths::kSubscribeFolderEx);
    EXPECT_STREQ("/tmp/m_tmp/lock/subscribe", paths::kSubscribeLock);
}

TEST(DevicePaths, WhatOutlivesAResetIsHere) {
    EXPECT_STREQ("/m_data/usr_permanent/reset_flag", paths::kResetFlag);
    EXPECT_STREQ("/m_data/usr_permanent/reboot_reason", paths::kRebootReason);
    EXPECT_STREQ("/m_data/usr_permanent/device_debug_mode", paths::kDebugMarkerPermanent);
}

TEST(DevicePaths, WhatAUserSetsIsHere) {
    EXPECT_STREQ("/m_data/usr/www/auth.txt", paths::kWebAccounts);
    EXPECT_STREQ("/m_data/usr/www/xpsk.bin", paths::kWebKeys);
    EXPECT_STREQ("/m_data/usr/dbm/database.db", paths::kDataManager);
    EXPECT_STREQ("/m_data/usr/device_debug_mode", paths::kDebugMarker);
    EXPECT_STREQ("/m_data/usr/debug_mode.sh", paths::kDebugScript);
    EXPECT_STREQ("/m_webui/usr/debug_mode.sh", paths::kDebugScriptOfImage);
    EXPECT_STREQ("/m_data/usr/trace/mal_service", paths::kTraceSwitch);
    EXPECT_STREQ("/m_data/usr/mask/mal_service", paths::kTraceMask);
}

TEST(DevicePaths, FilesLieInTheFoldersThatAreGuardedForThem) {
    EXPECT_TRUE(lies_in(paths::kUserDatabaseFolder, paths::kPlainFile));
    EXPECT_TRUE(lies_in(paths::kPermanentDatabaseFolder, paths::kPermFile));
    EXPECT_TRUE(lies_in(paths::kImageDatabaseFolder, paths::kDefaultsFile));
    EXPECT_TRUE(lies_in(paths::kFactoryFolder, paths::kFactoryFile));
    EXPECT_TRUE(lies_in(paths::kFactoryFolder, paths::kDisabledModules));
    EXPECT_TRUE(lies_in(paths::kTempFolder, paths::kJournalFolder));
    EXPECT_TRUE(lies_in(paths::kLockFolder, paths::kZndbLock));
    EXPECT_TRUE(lies_in(paths::kLockFolder, paths::kSubscribeLock));
    EXPECT_TRUE(lies_in(paths::kIpcFolder, paths::kZndbSocket));
    EXPECT_TRUE(lies_in(paths::kTraceFolder, paths::kTraceSwitch));
    EXPECT_TRUE(lies_in(paths::kTraceMaskFolder, paths::kTraceMask));
    for (const char *journal :
         {paths::kPlainJournal, paths::kPermJournal, paths::kFactoryJournal, paths::kOldJournal}) {
        EXPECT_TRUE(lies_in(paths::kJournalFolder, journal)) << journal;
    }
}
