/*
 * Another user attacks single files: the reboot reason, the trace mask, the lists of subscribers.
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
#include "system/zndb/zndb_process.h"

namespace {

constexpr int kRouter = 3;
constexpr int kWlan = 5;
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

constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
constexpr char kDebugMarker[] = "/m_data/usr/device_debug_mode";

/* Puts the six things in a marker's place, and a link to a file that is not there. */
template <typename Make>
void expect_marker(const char *marker, Make make) {
    for (const Plant what : kAllPlants) {
        plant(what, marker);
        make();
        ASSERT_EQ(::geteuid(), owner_of(marker)) << name_of(what); /* or it may be a pipe */
        EXPECT_EQ("", file_text(marker)) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
        std::filesystem::remove(marker);
    }
    constexpr char kElsewhere[] = "/m_data/factor/made_by_a_link";
    ASSERT_EQ(0, as_other_user([marker, &kElsewhere] { return ::symlink(kElsewhere, marker); }));
    make();
    EXPECT_FALSE(std::filesystem::exists(kElsewhere));
    EXPECT_EQ(::geteuid(), owner_of(marker));
    std::filesystem::remove(marker);
}

/* Debug mode is a setting too. */
class MarkerAttack : public ZndbTest {
  protected:
    MarkerAttack() {
        clean_device();
        for (const char *folder : {kPermanentFolder, "/m_data/usr"}) {
            open_to_all(folder);
        }
    }
    ~MarkerAttack() override {
        clear(kPermanentFolder);
        (void)::chmod("/m_data/usr", 0755);
    }
};

using MarkerAttackByAnotherUser = ByAnotherUser<MarkerAttack>;

}  // namespace

TEST_F(MarkerAttackByAnotherUser, WhatStandsInTheResetFlagsPlaceIsSetAside) {
    expect_marker(kResetFlag, [] { (void)frwk_system_reset(1); });
}

TEST_F(MarkerAttackByAnotherUser, WhatStandsInTheDebugMarkersPlaceIsSetAside) {
    start();
    expect_marker(kDebugMarker, [] { EXPECT_EQ(1, frwk_debug_mode_set(1, "rom")); });
}

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

TEST_F(MaskAttackByAnotherUser, WhatStandsInTheMasksPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        std::filesystem::remove_all(kMaskFolder);
        open_to_all(kMaskFolder);
        plant(what, kMask);
        expect_mask(name_of(what));
    }
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
