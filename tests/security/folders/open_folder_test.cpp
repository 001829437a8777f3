/*
 * Working folders that other users can write to: closed if they belong to the module, and logged if
 * they are not.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "frwk_common.h"
#include "os_log.h"
#include "security/folders/attacked_device.h"
#include "security/folders/lock_holder.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr int kWlan = 5;
constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
constexpr char kMaskFolder[] = "/m_data/usr/mask";
constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
/* Each after the one that it lies in. */
constexpr const char *kImageFolders[] = {
    "/m_data",        "/m_data/usr", "/m_data/usr/db", kPermanentFolder,  "/m_data/usr_permanent/db",
    "/m_data/factor", "/m_webui",    "/m_webui/usr",   "/m_webui/usr/db", "/tmp/m_tmp/zndb"};

constexpr char kNews[] = "the working folder ";

class OpenFolder : public testing::Test {
  protected:
    OpenFolder() { clean_device(); }
    ~OpenFolder() override {
        for (const char *folder : kImageFolders) {
            (void)::chmod(folder, 0755);
        }
        (void)::rmdir(kMaskFolder);
        (void)::rmdir(kSubscribeFolder);
    }
};

using OpenFolderByAnotherUser = ByAnotherUser<OpenFolder>;

/* The error output of a module that the other user starts. */
std::string errors_of_other_users(int32_t module) {
    constexpr char kErrors[] = "/tmp/errors_of_other_user";
    EXPECT_TRUE(write_text(kErrors, ""));
    EXPECT_EQ(0, ::chmod(kErrors, 0666));
    (void)as_other_user([&] {
        const bool kept = std::freopen(kErrors, "w", stderr) != nullptr;
        os_debug_enable();
        frwk_module_init(module, nullptr);
        return kept ? 0 : 1;
    });
    const std::string errors = file_text(kErrors);
    (void)::unlink(kErrors);
    return errors;
}

}  // namespace

TEST_F(OpenFolder, OwnFoldersAreClosedAtTheStartAndTheLogSaysSo) {
    for (const char *folder : {kTempFolder, kLockFolder, kIpcFolder, kSubscribeFolder, kMaskFolder}) {
        open_to_all(folder);
    }
    ModuleProcess wlan(kWlan);
    for (const char *folder : {kTempFolder, kLockFolder, kIpcFolder, kSubscribeFolder, kMaskFolder}) {
        EXPECT_EQ(0755u, mode_of(folder)) << folder;
        const std::string told = kNews + std::string(folder) + ", mode 0777: now it is 0755";
        EXPECT_TRUE(wlan.process().wait_for_error(told)) << folder;
    }
}

TEST_F(OpenFolder, FoldersForOneUserAreNotOpened) {
    ASSERT_EQ(0, ::mkdir(kIpcFolder, 0700));
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(0700u, mode_of(kIpcFolder));
}

TEST_F(OpenFolder, FoldersOfTheImageAreLeftAloneAndTold) {
    for (const char *folder : kImageFolders) {
        (void)::mkdir(folder, 0755);
        ASSERT_EQ(0, ::chmod(folder, 0775)) << folder;
    }
    ModuleProcess wlan(kWlan);
    for (const char *folder : kImageFolders) {
        EXPECT_EQ(0775u, mode_of(folder)) << folder;
        const std::string told = "others can write the working folder " + std::string(folder) + ": owner " +
                                 std::to_string(::geteuid()) + ", mode 0775";
        EXPECT_TRUE(wlan.process().wait_for_error(told)) << folder;
    }
}

TEST_F(OpenFolder, NothingIsToldOfFoldersThatAreClosed) {
    ModuleProcess wlan(kWlan);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 5 40000 3 2 text:ok"));
    EXPECT_EQ(std::string::npos, wlan.process().errors().find(kNews)) << wlan.process().errors();
}

TEST_F(OpenFolderByAnotherUser, AFolderOfAnotherUserIsTold) {
    ASSERT_EQ(0, ::mkdir(kMaskFolder, 0755));
    ASSERT_EQ(0, ::chown(kMaskFolder, kOtherUser, ::getegid()));
    ModuleProcess wlan(kWlan);
    EXPECT_TRUE(
        wlan.process().wait_for_error("others can write the working folder /m_data/usr/mask: owner 60001, "
                                      "mode 0755"));
}

/* While the temporary folder was open, they made the lock's folder, and hold a lock on a module's file. */
TEST_F(OpenFolderByAnotherUser, WhatWasPlantedBeforeTheFolderWasClosedIsSetAside) {
    open_to_all(kTempFolder);
    plant(Plant::kFolder, kLockFolder);
    plant(Plant::kFolder, kIpcFolder);
    plant(Plant::kFile, std::string(kLockFolder) + "/wlan");
    ASSERT_EQ(0, ::chmod(kTempFolder, 0755));
    const LockHolder holder("/tmp/m_tmp/lock/wlan");
    ModuleProcess wlan(kWlan);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 5 40000 3 2 text:ok"));
    EXPECT_EQ(::geteuid(), owner_of(kLockFolder));
    EXPECT_EQ(::geteuid(), owner_of(kIpcFolder));
}

/* They could replace the folders in it anyway. */
TEST_F(OpenFolderByAnotherUser, FoldersOfTheTemporaryFoldersOwnerStay) {
    for (const char *folder : {kTempFolder, kIpcFolder}) {
        (void)::mkdir(folder, 0755);
        ASSERT_EQ(0, ::chown(folder, kOtherUser, ::getegid()));
    }
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(kOtherUser, owner_of(kIpcFolder));
    ASSERT_EQ(0, ::chown(kTempFolder, ::geteuid(), ::getegid()));
}

/* The other user is the module, and the folder root's. */
TEST_F(OpenFolderByAnotherUser, AnOpenFolderOfRootsIsToldToAModuleOfAnotherUser) {
    ASSERT_EQ(0, ::chmod(kTempFolder, 01777));
    const std::string errors = errors_of_other_users(E_APPS_MODULE_MONITOR_TOOL);
    const std::string told = "others can write the working folder /tmp/m_tmp: owner 0, mode 1777";
    EXPECT_NE(std::string::npos, errors.find(told)) << errors;
    EXPECT_EQ(01777u, mode_of(kTempFolder));
}

TEST_F(OpenFolderByAnotherUser, WhatStandsInTheLocksOrTheSocketsFoldersPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kTempFolder);
        plant(what, kLockFolder);
        plant(what, kIpcFolder);
        ModuleProcess wlan(kWlan);
        for (const char *folder : {kLockFolder, kIpcFolder}) {
            EXPECT_EQ(::geteuid(), owner_of(folder)) << name_of(what);
            EXPECT_EQ(0755u, mode_of(folder)) << name_of(what);
        }
        EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 5 40000 3 2 text:ok")) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
    }
}

/* A link to a folder, so that locks would be made there. */
TEST_F(OpenFolderByAnotherUser, ALinkOfAnotherUserLeadsNowhere) {
    open_to_all(kTempFolder);
    ASSERT_EQ(0, as_other_user([] { return ::symlink("/m_data/factor", "/tmp/m_tmp/lock"); }));
    const ModuleProcess wlan(kWlan);
    EXPECT_NE(0, ::access("/m_data/factor/wlan", F_OK));
    EXPECT_EQ(0, ::access("/tmp/m_tmp/lock/wlan", F_OK));
}

/* In a sticky folder of root's what others put there can't be moved by a third one: it is told, and not used.
 */
TEST_F(OpenFolderByAnotherUser, WhatCanNotBeSetAsideIsTold) {
    ASSERT_EQ(0, ::chmod(kTempFolder, 01777));
    ASSERT_EQ(0, ::mkdir(kLockFolder, 0755));
    ASSERT_EQ(0, ::chown(kLockFolder, kThirdUser, ::getegid()));
    const std::string errors = errors_of_other_users(E_APPS_MODULE_WLAN);
    EXPECT_NE(std::string::npos,
              errors.find("/tmp/m_tmp/lock is not ours (owner 60002, mode 0755) and can't be "
                          "set aside! errno=1"))
        << errors;
    EXPECT_NE(std::string::npos, errors.find("can't open /tmp/m_tmp/lock/wlan\n")) << errors;
}
