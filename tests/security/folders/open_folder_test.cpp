/*
 * Working folders that other users can write to: closed if they belong to the module, and logged if
 * they are not.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
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

/* Removes what was set aside in a folder. */
void remove_planted(const std::string &folder) {
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().string().find(".planted-") != std::string::npos) {
            std::filesystem::remove_all(entry.path());
        }
    }
}

/* Renames as the other user. */
void rename_by_another(const std::string &from, const std::string &to) {
    ASSERT_EQ(0, as_other_user([&] { return ::rename(from.c_str(), to.c_str()); })) << from;
}

/* Whether a module serves and subscribes. */
void expect_works(const std::string &what) {
    (void)::mkdir(kSubscribeFolder, 0755);
    ModuleProcess wlan(kWlan);
    ModuleProcess router(3);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok")) << what;
    EXPECT_EQ("ret=0", wlan.ask("sub link")) << what;
    (void)::unlink("/m_data/usr/subscribe/link");
}

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
    (void)::mkdir(kPermanentFolder, 0755);
    ASSERT_EQ(0, ::chown(kPermanentFolder, kOtherUser, ::getegid()));
    ModuleProcess wlan(kWlan);
    EXPECT_TRUE(
        wlan.process().wait_for_error("others can write the working folder /m_data/usr_permanent: owner "
                                      "60001, mode 0755"));
    ASSERT_EQ(0, ::chown(kPermanentFolder, ::geteuid(), ::getegid()));
}

/* They were made while /m_data/usr was open. */
TEST_F(OpenFolderByAnotherUser, FoldersOfSubscriptionsAndOfTheMaskAreReplaced) {
    for (const char *folder : {kSubscribeFolder, kMaskFolder}) {
        ASSERT_EQ(0, ::mkdir(folder, 0755));
        ASSERT_EQ(0, ::chown(folder, kOtherUser, ::getegid()));
    }
    ModuleProcess wlan(kWlan);
    for (const char *folder : {kSubscribeFolder, kMaskFolder}) {
        EXPECT_EQ(::geteuid(), owner_of(folder)) << folder;
        EXPECT_EQ(0755u, mode_of(folder)) << folder;
        const std::string told =
            folder + std::string(" was not ours (owner 60001, mode 0755): set aside as ");
        EXPECT_TRUE(wlan.process().wait_for_error(told)) << folder;
    }
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ(0, ::unlink("/m_data/usr/subscribe/link"));
    remove_planted("/m_data/usr");
}

/* Whoever owns the folder above could replace them anyway. */
TEST_F(OpenFolderByAnotherUser, ASubscriptionFolderOfItsParentsOwnerStays) {
    ASSERT_EQ(0, ::mkdir(kSubscribeFolder, 0755));
    for (const char *folder : {kSubscribeFolder, "/m_data/usr"}) {
        ASSERT_EQ(0, ::chown(folder, kOtherUser, ::getegid()));
    }
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(kOtherUser, owner_of(kSubscribeFolder));
    ASSERT_EQ(0, ::chown("/m_data/usr", ::geteuid(), ::getegid()));
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

/* The device's own things, which they renamed while the folder was open. */
TEST_F(OpenFolderByAnotherUser, WhatWasRenamedToTheLocksOrTheSocketsFolderIsSetAside) {
    const char *const made[] = {"echo text > /tmp/m_tmp/thing", "ln -s /nowhere /tmp/m_tmp/thing",
                                "mkdir -p /tmp/m_tmp/thing/wlan/full /tmp/m_tmp/thing/subscribe",
                                "mkfifo /tmp/m_tmp/thing"};
    for (const char *make : made) {
        for (const char *folder : {kLockFolder, kIpcFolder}) {
            clean_device();
            ASSERT_EQ(0, std::system(make));
            open_to_all(kTempFolder);
            rename_by_another("/tmp/m_tmp/thing", folder);
            expect_works(make + std::string(" in the place of ") + folder);
        }
    }
}

TEST_F(OpenFolderByAnotherUser, FoldersThatWereExchangedWorkAgain) {
    expect_works("before");
    open_to_all(kTempFolder);
    rename_by_another(kIpcFolder, "/tmp/m_tmp/aside");
    rename_by_another(kLockFolder, kIpcFolder);
    rename_by_another("/tmp/m_tmp/aside", kLockFolder);
    expect_works("exchanged");
}

/* Though somebody has closed /tmp/m_tmp meanwhile. */
TEST_F(OpenFolderByAnotherUser, SocketsInTheLocksFolderAreSetAside) {
    expect_works("before");
    open_to_all(kTempFolder);
    rename_by_another(kLockFolder, "/tmp/m_tmp/aside");
    rename_by_another(kIpcFolder, kLockFolder);
    ASSERT_EQ(0, ::chmod(kTempFolder, 0755));
    expect_works("renamed");
}
