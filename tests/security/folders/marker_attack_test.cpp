/*
 * Another user attacks markers, which are there or not, and the script of debug mode.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "security/attacker.h"
#include "security/folders/attacked_device.h"
#include "support/other_user.h"
#include "support/wait_until.h"
#include "system/zndb/zndb_process.h"
#include "zndb.h"

namespace {

constexpr char kUserFolder[] = "/m_data/usr";
constexpr char kPermanentFolder[] = "/m_data/usr_permanent";
constexpr char kDisabled[] = "/m_data/factor/apps_disable";
constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
constexpr char kDebugMarker[] = "/m_data/usr/device_debug_mode";

constexpr char kElsewhere[] = "/m_data/factor/made_by_a_link";

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
    ASSERT_EQ(0, as_other_user([marker] { return ::symlink(kElsewhere, marker); }));
    make();
    EXPECT_FALSE(std::filesystem::exists(kElsewhere));
    EXPECT_EQ(::geteuid(), owner_of(marker));
    std::filesystem::remove(marker);
}

/* What the script does. */
constexpr char kScript[] = "/m_data/usr/debug_mode.sh";
constexpr char kRan[] = "/m_data/factor/ran";

/* Debug mode is a setting too. */
class MarkerAttack : public ZndbTest {
  protected:
    MarkerAttack() {
        clean_device();
        (void)::mkdir(kDisabled, 0755);
        for (const char *folder : kFolders) {
            open_to_all(folder);
        }
    }
    ~MarkerAttack() override {
        close();
        for (const char *folder : kFolders) {
            for (const auto &entry : std::filesystem::directory_iterator(folder)) {
                std::filesystem::remove_all(entry.path());
            }
        }
        (void)::rmdir(kDisabled);
        (void)::unlink(kRan);
    }

    /* Closes the folders, so that what was planted stays. */
    static void close() {
        for (const char *folder : kFolders) {
            (void)::chmod(folder, 0755);
        }
    }
    static void put_script(const char *path) {
        ASSERT_TRUE(write_text(path, std::string("#!/bin/sh\n: > ") + kRan + "\n"));
        ASSERT_EQ(0, ::chmod(path, 0755));
    }

    static constexpr const char *kFolders[] = {kPermanentFolder, kUserFolder, kDisabled};
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

namespace {

/* Somebody puts a link into the marker's place as soon as it is free. */
template <typename Make>
void expect_nothing_made_elsewhere(const char *marker, Make make) {
    Attacker attacker(As::kAnotherUser, [marker] { (void)::symlink(kElsewhere, marker); });
    int made = 0;
    for (int i = 0; i < attack_rounds(); ++i) {
        attacker.wait_for_a_move();
        make();
        made += ::unlink(kElsewhere) == 0 ? 1 : 0;
        (void)::unlink(marker);
    }
    EXPECT_EQ(0, made) << marker;
}

std::string debug_setting() {
    char value[ZNDB_VALUE_LEN] = "";
    (void)zndb_get("device_debug_mode", value, sizeof(value));
    return value;
}

}  // namespace

TEST_F(MarkerAttackByAnotherUser, ALinkThatIsSwappedInIsNotFollowed) {
    start();
    for (const mode_t mode : {0777u, 01777u}) {
        for (const char *folder : {kPermanentFolder, kUserFolder}) {
            ASSERT_EQ(0, ::chmod(folder, mode));
        }
        expect_nothing_made_elsewhere(kResetFlag, [] { (void)frwk_system_reset(1); });
        expect_nothing_made_elsewhere(kDebugMarker, [] { (void)frwk_debug_mode_set(1, "rom"); });
    }
}

TEST_F(MarkerAttack, IsMadeInAnOpenFolderWhateverTheUmask) {
    const Umask none(0);
    (void)frwk_system_reset(1);
    EXPECT_EQ(0644u, mode_of(kResetFlag));
    EXPECT_NE(0, frwk_system_reset_check());
}

TEST_F(MarkerAttackByAnotherUser, WhatIsInItsPlaceInAStickyFolderIsSetAside) {
    ASSERT_EQ(0, ::chmod(kPermanentFolder, 01777));
    expect_marker(kResetFlag, [] { (void)frwk_system_reset(1); });
}

/* The shell's touch sets the time of a marker that is there. */
TEST_F(MarkerAttack, IsTouchedInAStickyFolderToo) {
    ASSERT_EQ(0, ::chmod(kPermanentFolder, 01777));
    ASSERT_TRUE(write_text(kResetFlag, ""));
    const timespec long_ago[2] = {{1, 0}, {1, 0}};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, kResetFlag, long_ago, 0));
    (void)frwk_system_reset(1);
    struct stat found = {};
    ASSERT_EQ(0, ::stat(kResetFlag, &found));
    EXPECT_GT(found.st_mtime, 1);
}

/* Of this user: it is not followed, and the marker not made. */
TEST_F(MarkerAttack, ALinkOfTheDevicesOwnIsNotFollowedInAnOpenFolder) {
    ASSERT_EQ(0, ::symlink(kElsewhere, kResetFlag));
    (void)frwk_system_reset(1);
    EXPECT_FALSE(std::filesystem::exists(kElsewhere));
}

TEST_F(MarkerAttackByAnotherUser, TheirMarkersAreNotBelieved) {
    start();
    for (const char *marker : {kResetFlag, kDebugMarker, "/m_data/usr_permanent/device_debug_mode",
                               "/m_data/factor/apps_disable/wlan"}) {
        plant(Plant::kFile, marker);
    }
    close();
    EXPECT_EQ(0, frwk_system_reset_check());
    EXPECT_EQ(0, frwk_module_disabled(E_APPS_MODULE_WLAN, nullptr, 0));
    EXPECT_EQ(1, frwk_debug_mode_init());
    EXPECT_NE("true", debug_setting());
}

TEST_F(MarkerAttackByAnotherUser, TheirLinksAreNoMarkers) {
    plant(Plant::kLink, kResetFlag);
    close();
    EXPECT_EQ(0, frwk_system_reset_check());
}

TEST_F(MarkerAttackByAnotherUser, ALinkThatLeadsNowhereIsRemovedToo) {
    start();
    ASSERT_EQ(0, as_other_user([] { return ::symlink(kElsewhere, kDebugMarker); }));
    close();
    EXPECT_EQ(1, frwk_debug_mode_set(0, nullptr));
    EXPECT_FALSE(std::filesystem::is_symlink(kDebugMarker));
}

TEST_F(MarkerAttackByAnotherUser, TheirScriptIsNotRun) {
    start();
    put_script(kScript);
    ASSERT_EQ(0, ::chown(kScript, kOtherUser, ::getegid()));
    close();
    EXPECT_EQ(1, frwk_debug_mode_set(1, nullptr));
    EXPECT_FALSE(std::filesystem::exists(kRan));
    ASSERT_EQ(0, ::chown(kScript, ::geteuid(), ::getegid()));
    EXPECT_EQ(1, frwk_debug_mode_set(1, nullptr));
    EXPECT_TRUE(std::filesystem::exists(kRan));
}

TEST_F(MarkerAttack, AScriptThatEverybodyCanReplaceIsNotRun) {
    start();
    put_script(kScript);
    EXPECT_EQ(1, frwk_debug_mode_set(1, nullptr));
    EXPECT_FALSE(std::filesystem::exists(kRan));
    ASSERT_EQ(0, ::chmod(kUserFolder, 01777));
    EXPECT_EQ(1, frwk_debug_mode_set(1, nullptr));
    EXPECT_TRUE(std::filesystem::exists(kRan));
}
