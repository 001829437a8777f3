/*
 * A device whose backups come from, and go to, a folder in which an attacker may write: one of the attacker's
 * own, or, where there is no second user to be, one for everybody.
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "security/attacker.h"
#include "support/other_user.h"
#include "system/backup/backup_fixture.h"

inline constexpr char kShared[] = "/m_data/usr/shared";

/* What an attacker would like to write, and to change. */
inline constexpr char kProgram[] = "/etc/cron.d/evil";
inline constexpr char kPrecious[] = "/etc/precious";

/* Puts one file in the place of another by a name of its own, in one step. Both stay where they are. */
inline void put_link_to(const char *file, const char *by, const char *place) {
    (void)::link(file, by);
    (void)::rename(by, place);
}

inline ino_t number_of(const char *path) {
    struct stat found = {};
    return ::lstat(path, &found) == 0 ? found.st_ino : 0;
}

class SharedFolder : public BackupSystem, public testing::WithParamInterface<As> {
  protected:
    void SetUp() final {
        if (GetParam() == As::kAnotherUser) {
            skip_without_other_user();
        }
        if (IsSkipped()) {
            return;
        }
        for (const char *folder : {kShared, "/etc/cron.d"}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directories(folder);
        }
        give_away(kShared, 0755, 0777);
        write_file(kPrecious, "precious");
        write_file(paths::kDefaultsFile, std::string("device_product_name=") + kProduct + "\n");
        write_file(kUserData, "ssid=home\n");
        start();
        prepare();
    }

    /* What the tests of a suite need besides. */
    virtual void prepare() {}

    void TearDown() override {
        for (const char *path : {kShared, "/etc/cron.d", kPrecious}) {
            std::filesystem::remove_all(path);
        }
    }

    /* Lets the attacker write to a file or folder: as its owner, or as everybody. */
    static void give_away(const std::string &path, mode_t mode_of_owner, mode_t mode_for_all) {
        const bool is_another = GetParam() == As::kAnotherUser;
        EXPECT_EQ(0, ::chmod(path.c_str(), is_another ? mode_of_owner : mode_for_all));
        EXPECT_EQ(0, is_another ? ::chown(path.c_str(), kOtherUser, kOtherUser) : 0);
    }

    /* A file of the attacker's in the folder. */
    static void put_attackers_file(const std::string &path, const std::string &bytes) {
        write_file(path, bytes);
        give_away(path, 0644, 0666);
    }

    static uint32_t magic() {
        uint32_t hash = 0;
        for (const char *c = kProduct; *c != '\0'; ++c) {
            hash = hash * 131 + static_cast<unsigned char>(*c);
        }
        return hash & 0x7FFFFFFFu;
    }

    /* What the attacker, who has no key, would like to have restored or sealed. */
    static std::string forged_body() {
        return backup_bytes::record(backup_bytes::kFile, kProgram, "* * * * * root evil\n") +
               backup_bytes::record(backup_bytes::kDatabase, kUserData, "evil=1\n");
    }

    static void expect_no_harm() {
        ASSERT_FALSE(std::filesystem::exists(kProgram));
        ASSERT_EQ("precious", file_text(kPrecious));
    }

    /* Nothing of a private folder is left, and no attack has changed the settings. */
    static void expect_clean_device() {
        EXPECT_EQ("ret 3", plain("evil"));
        for (const auto &entry : std::filesystem::directory_iterator("/tmp/m_tmp")) {
            EXPECT_EQ(std::string::npos, entry.path().string().find("backup.private")) << entry.path();
        }
    }
};

inline std::string name_of_attacker(const testing::TestParamInfo<As> &info) {
    return info.param == As::kAnotherUser ? "AsAnotherUser" : "AsTheSameUser";
}

#define QUOR_ATTACKED(suite)                                                                       \
    INSTANTIATE_TEST_SUITE_P(Attacked, suite, testing::Values(As::kTheSameUser, As::kAnotherUser), \
                             name_of_attacker)
