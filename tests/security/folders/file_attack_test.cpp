/*
 * Another user attacks single files: the reboot reason, the trace mask, the lists of subscribers. Markers
 * have a file of their own.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "security/folders/attacked_device.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr int kRouter = 3;
constexpr int kWlan = 5;
constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
constexpr char kReason[] = "/m_data/usr_permanent/reboot_reason";
constexpr char kMaskFolder[] = "/m_data/usr/mask";
constexpr char kMask[] = "/m_data/usr/mask/mal_service";
constexpr char kSubscribeFolder[] = "/m_data/usr/subscribe";
constexpr char kEvent[] = "/m_data/usr/subscribe/link";

void clear(const std::string &folder) {
    std::filesystem::remove_all(folder);
    ASSERT_EQ(0, ::mkdir(folder.c_str(), 0755));
}

class FileAttack : public testing::Test {
  protected:
    FileAttack() { clean_device(); }
    ~FileAttack() override {
        for (const char *folder : {kPermanentFolder, kSubscribeFolder}) {
            clear(folder);
        }
    }
};

using FileAttackByAnotherUser = ByAnotherUser<FileAttack>;

}  // namespace

TEST_F(FileAttackByAnotherUser, WhatStandsInTheReasonsPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        clear(kPermanentFolder);
        open_to_all(kPermanentFolder);
        plant(what, kReason, "9");
        EXPECT_EQ(0, frwk_reboot_reason_get()) << name_of(what);
        EXPECT_EQ(0, frwk_reboot_reason_save(7)) << name_of(what);
        EXPECT_EQ(7, frwk_reboot_reason_get()) << name_of(what);
        EXPECT_EQ("7", file_text(kReason)) << name_of(what);
        EXPECT_EQ(::geteuid(), owner_of(kReason)) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
    }
}

TEST_F(FileAttack, ALinkOfTheDevicesOwnIsNotFollowedForTheReason) {
    ASSERT_EQ(0, ::symlink(kVictim, kReason));
    EXPECT_EQ(-1, frwk_reboot_reason_save(7));
    EXPECT_EQ(kPrecious, file_text(kVictim));
    ASSERT_TRUE(write_text(kVictim, "9"));
    EXPECT_EQ(0, frwk_reboot_reason_get());
}

TEST_F(FileAttack, TheReasonIsItsOwnersToWriteWhateverTheUmask) {
    const Umask none(0);
    EXPECT_EQ(0, frwk_reboot_reason_save(7));
    EXPECT_EQ(0644u, mode_of(kReason));
    ASSERT_EQ(0, ::chmod(kReason, 0666));
    EXPECT_EQ(0, frwk_reboot_reason_save(8));
    EXPECT_EQ(0644u, mode_of(kReason));
    EXPECT_EQ(8, frwk_reboot_reason_get());
}

namespace {

class MaskAttack : public FileAttack {
  protected:
    MaskAttack() {
        std::filesystem::create_directories("/m_data/usr/trace");
        EXPECT_TRUE(write_text("/m_data/usr/trace/mal_service", ""));
        EXPECT_TRUE(write_text("/m_data/usr/trace/wlan", ""));
        frwk_module_set(kWlan, FRWK_FLAG_RUN);
    }
    ~MaskAttack() override {
        std::filesystem::remove_all("/m_data/usr/trace");
        std::filesystem::remove_all(kMaskFolder);
    }

    static void expect_mask(const char *what) {
        EXPECT_EQ(1, frwk_set_mals_tracemask()) << what;
        EXPECT_EQ("wlan", file_text(kMask).substr(0, 4)) << what;
        EXPECT_EQ(::geteuid(), owner_of(kMask)) << what;
        EXPECT_EQ(0644u, mode_of(kMask)) << what;
        EXPECT_EQ(kPrecious, file_text(kVictim)) << what;
    }
};

using MaskAttackByAnotherUser = ByAnotherUser<MaskAttack>;

}  // namespace

TEST_F(MaskAttackByAnotherUser, WhatStandsInTheMasksPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        std::filesystem::remove_all(kMaskFolder);
        open_to_all(kMaskFolder);
        plant(what, kMask);
        expect_mask(name_of(what));
    }
}

TEST_F(MaskAttackByAnotherUser, AFolderOfTheirsIsReplaced) {
    ASSERT_EQ(0, ::mkdir(kMaskFolder, 0755));
    ASSERT_EQ(0, ::chown(kMaskFolder, kOtherUser, ::getegid()));
    expect_mask("a folder of another user");
    EXPECT_EQ(::geteuid(), owner_of(kMaskFolder));
}

TEST_F(MaskAttackByAnotherUser, TheirsAreNoTraces) {
    for (const char *file : {"/m_data/usr/trace/mal_service", "/m_data/usr/trace/wlan"}) {
        ASSERT_EQ(0, ::chown(file, kOtherUser, ::getegid()));
        EXPECT_EQ(1, frwk_set_mals_tracemask()) << file;
        EXPECT_FALSE(std::filesystem::exists(kMask)) << file;
        ASSERT_EQ(0, ::chown(file, ::geteuid(), ::getegid()));
    }
    expect_mask("traces of the device");
}

TEST_F(MaskAttack, FolderAndMaskAreTheirOwnersToWriteWhateverTheUmask) {
    const Umask none(0);
    expect_mask("a umask of 0");
    EXPECT_EQ(0755u, mode_of(kMaskFolder));
    ASSERT_EQ(0, ::chmod(kMask, 0666));
    expect_mask("a mask that was open to all");
}

TEST_F(MaskAttack, ALinkOfTheDevicesOwnIsNotFollowed) {
    ASSERT_EQ(0, ::mkdir(kMaskFolder, 0755));
    ASSERT_EQ(0, ::symlink(kVictim, kMask));
    EXPECT_EQ(0, frwk_set_mals_tracemask());
    EXPECT_EQ(kPrecious, file_text(kVictim));
}

class SubscriptionAttack : public FileAttack {
  protected:
    SubscriptionAttack() { clear(kSubscribeFolder); }
};

using SubscriptionAttackByAnotherUser = ByAnotherUser<SubscriptionAttack>;

TEST_F(SubscriptionAttackByAnotherUser, WhatStandsInAListsPlaceIsRefused) {
    for (const Plant what : kAllPlants) {
        clear(kSubscribeFolder);
        open_to_all(kSubscribeFolder);
        plant(what, kEvent, "wlan\n");
        ModuleProcess router(kRouter);
        ModuleProcess wlan(kWlan);
        EXPECT_EQ("ret=12", router.ask("sub link")) << name_of(what);
        EXPECT_EQ("done", router.ask("pub link 3001 -"));
        EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
        EXPECT_EQ(1u, wlan.messages().size()) << name_of(what) << ": somebody else's list was believed";
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
    }
}

/* They made folder and list while the folder above was open, which was closed since. */
TEST_F(SubscriptionAttackByAnotherUser, AListInAFolderOfTheirsIsRefused) {
    ModuleProcess router(kRouter);
    ModuleProcess wlan(kWlan);
    open_to_all(kSubscribeFolder);
    plant(Plant::kFile, kEvent, "wlan\n");
    ASSERT_EQ(0, ::chown(kSubscribeFolder, kOtherUser, ::getegid()));
    EXPECT_EQ("done", router.ask("pub link 3001 -"));
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
    EXPECT_EQ(1u, wlan.messages().size()) << "somebody else's list was believed";
    EXPECT_EQ("ret=12", router.ask("sub link"));
    EXPECT_EQ("ret=12", router.ask("unsub link"));
}

/* Modules may run as a user of their own, to whom the operator's tools, run by root, publish. */
TEST_F(SubscriptionAttackByAnotherUser, RootBelievesTheListsOfTheModulesUser) {
    std::filesystem::create_directory(kTempFolder);
    ASSERT_EQ(0, ::chown(kTempFolder, kOtherUser, ::getegid()));
    open_to_all(kSubscribeFolder);
    plant(Plant::kFile, kEvent, "wlan\n");
    ASSERT_EQ(0, ::chown(kSubscribeFolder, kOtherUser, ::getegid()));
    ASSERT_EQ(0, ::chmod(kSubscribeFolder, 0755));
    {
        ModuleProcess router(kRouter);
        ModuleProcess wlan(kWlan);
        EXPECT_EQ(kOtherUser, owner_of(kSubscribeFolder)) << "a start has set their folder aside";
        EXPECT_EQ("done", router.ask("pub link 3001 -"));
        EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
        EXPECT_EQ(2u, wlan.messages().size());
    }
    ASSERT_EQ(0, ::chown(kTempFolder, ::geteuid(), ::getegid()));
}

TEST_F(SubscriptionAttackByAnotherUser, ClearingAFolderOfTheirsReplacesIt) {
    ASSERT_EQ(0, ::chown(kSubscribeFolder, kOtherUser, ::getegid()));
    frwk_ipc_init_sub();
    EXPECT_EQ(::geteuid(), owner_of(kSubscribeFolder));
    EXPECT_EQ(0755u, mode_of(kSubscribeFolder));
}

TEST_F(SubscriptionAttackByAnotherUser, TheLogTellsWhoseTheListIs) {
    open_to_all(kSubscribeFolder);
    plant(Plant::kFile, kEvent, "wlan\n");
    ModuleProcess router(kRouter);
    EXPECT_EQ("ret=12", router.ask("unsub link"));
    EXPECT_TRUE(router.process().wait_for_error(std::string(kEvent) +
                                                " is not ours (owner 60001, mode 0666): refused"));
}

TEST_F(SubscriptionAttack, ListsAndTheirFolderAreTheirOwnersToWriteWhateverTheUmask) {
    const Umask none(0);
    ASSERT_EQ(0, ::rmdir(kSubscribeFolder));
    frwk_ipc_init_sub();
    EXPECT_EQ(0755u, mode_of(kSubscribeFolder));
    ModuleProcess router(kRouter);
    EXPECT_EQ("ret=0", router.ask("sub link"));
    EXPECT_EQ(0644u, mode_of(kEvent));
}

TEST_F(SubscriptionAttack, AListThatWasOpenToAllIsNarrowed) {
    ASSERT_TRUE(write_text(kEvent, "wlan\n"));
    ASSERT_EQ(0, ::chmod(kEvent, 0666));
    ModuleProcess router(kRouter);
    EXPECT_EQ("ret=0", router.ask("sub link"));
    EXPECT_EQ(0644u, mode_of(kEvent));
    EXPECT_EQ("wlan\nrouter\n", file_text(kEvent));
}

TEST_F(SubscriptionAttack, ClearingTheFolderClosesIt) {
    open_to_all(kSubscribeFolder);
    frwk_ipc_init_sub();
    EXPECT_EQ(0755u, mode_of(kSubscribeFolder));
}
