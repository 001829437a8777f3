/*
 * Backup and restore: every key and every byte, on the same device and on another one.
 */
#include <gtest/gtest.h>

#include <memory>

#include "support/child_process.h"
#include "system/backup/backup_fixture.h"

namespace {

constexpr int kKeys = 500;
constexpr size_t kLarge = 5 << 20;

std::string key_of(int number) {
    return "key_" + std::to_string(number);
}

/* Every kind of value that the database takes. */
std::string value_of(int number) {
    const std::string mark = std::to_string(number);
    switch (number % 5) {
        case 0:
            return mark;
        case 1:
            return "";
        case 2:
            return " =" + mark + "#a=b=c&,\t\xC3\xA4 ";
        case 3:
            return std::string(1023 - mark.size(), 'v') + mark;
        default:
            return "'\"$(" + mark + ");`\\|";
    }
}

class RoundTrip : public BackupSystem {
  protected:
    /* Fills the device. */
    void fill() {
        start_with("webs_backup_account=true\n");
        for (int i = 0; i < kKeys; ++i) {
            ASSERT_EQ(0, zndb_set(key_of(i).c_str(), value_of(i).c_str()));
        }
        ASSERT_EQ(0, zndb_save());
        write_file(kAccounts, "admin:secret\n");
        write_file(kWebKeys, random_bytes(777, 1));
        write_file(kDataManager, random_bytes(kLarge, 2));
    }

    /* Leaves nothing of it, but for the product's name. */
    static void wipe() {
        ASSERT_EQ(0, zndb_reset());
        ASSERT_EQ(0, zndb_set("device_product_name", kProduct));
        ASSERT_EQ(0, zndb_set("made_since", "1"));
        ASSERT_EQ(0, zndb_save());
        write_file(kAccounts, "somebody:else\n");
        std::filesystem::remove(kWebKeys);
        std::filesystem::remove_all("/m_data/usr/dbm");
    }

    static void expect_everything_back() {
        for (int i = 0; i < kKeys; ++i) {
            ASSERT_EQ(value_of(i), plain(key_of(i)));
        }
        EXPECT_EQ("true", plain("webs_backup_account"));
        EXPECT_EQ(kProduct, plain("device_product_name"));
        EXPECT_EQ("admin:secret\n", file_text(kAccounts));
        EXPECT_EQ(random_bytes(777, 1), file_text(kWebKeys));
        EXPECT_TRUE(random_bytes(kLarge, 2) == file_text(kDataManager));
    }
};

/* More than the database lets one sender change without a save. */
TEST_F(RoundTrip, BringsBack5000Settings) {
    std::string text = "webs_backup_account=true\n";
    for (int i = 0; i < 5000; ++i) {
        text += key_of(i) + "=1\n";
    }
    start_with(text);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    wipe();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    for (int i = 0; i < 5000; ++i) {
        ASSERT_EQ("1", plain(key_of(i)));
    }
    EXPECT_EQ("ret 3", plain("made_since"));
}

TEST_F(RoundTrip, BringsBackEveryKeyAndEveryByte) {
    fill();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(std::vector<std::string>{"backup.bin"}, names_in(kFolder));
    wipe();

    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    expect_everything_back();
    EXPECT_EQ("ret 3", plain("made_since"));
    EXPECT_EQ(std::vector<std::string>(), names_in(kFolder));
}

TEST_F(RoundTrip, WhatWasRestoredSurvivesAPowerCut) {
    fill();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    wipe();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    cut_power();
    expect_everything_back();
}

TEST_F(RoundTrip, ABackupHoldsTheFourSourcesInOrder) {
    start_with("webs_backup_account=true\n");
    write_file(kAccounts, "accounts");
    write_file(kWebKeys, "keys");
    write_file(kDataManager, "database");
    const std::string user_data = file_text(kUserData);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));

    uint32_t magic = 0;
    for (const char *c = kProduct; *c != '\0'; ++c) {
        magic = magic * 131 + static_cast<unsigned char>(*c);
    }
    using backup_bytes::record;
    EXPECT_EQ(backup_bytes::packed(record(2, kUserData, user_data) + record(1, kAccounts, "accounts") +
                                       record(1, kWebKeys, "keys") + record(1, kDataManager, "database"),
                                   magic & 0x7FFFFFFF),
              deciphered(kBackup));
}

TEST_F(RoundTrip, NothingOfTheSettingsShowsInABackup) {
    start_with("wifi_password=correct horse\n");
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    const std::string bytes = file_text(kBackup);
    EXPECT_EQ(std::string::npos, bytes.find("correct"));
    EXPECT_EQ(std::string::npos, bytes.find("wifi_password"));
    EXPECT_EQ(std::string::npos, bytes.find("/m_data"));
}

TEST_F(RoundTrip, ChangesThatAreNotSavedAreNotInABackup) {
    start_with("a=saved\n");
    ASSERT_EQ(0, zndb_set("a", "unsaved"));
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("saved", plain("a"));
}

TEST_F(RoundTrip, ADeviceThatWasNeverSetUpComesBackEmpty) {
    ASSERT_TRUE(write_text(paths::kDefaultsFile, std::string("device_product_name=") + kProduct + "\n"));
    start();
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(0, zndb_set("a", "1"));
    write_file(kDataManager, "made since");
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("ret 3", plain("a"));
    EXPECT_FALSE(std::filesystem::exists(kDataManager));
}

/* The database refuses what it can't hold: an empty key ends the restore. */
TEST_F(RoundTrip, AnEmptyKeyIsAskedForAndRefusedByTheDatabase) {
    start_with("");
    write_file(kUserData, "a=1\n=v\nb=2\n");
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    EXPECT_EQ(E_APPS_ERR_PROCESS, frwk_dbrm_restore(kBackup));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("ret 3", plain("b"));
}

/*
 * A second device in a tree of its own, with settings and a product key, to which a backup is brought over as
 * by a USB stick.
 */
class SecondDevice {
  public:
    SecondDevice(const std::string &product, const std::string &key) : process_(command(product, key)) {
        EXPECT_EQ("started", process_.read_line());
    }
    ~SecondDevice() { std::filesystem::remove_all(kStick); }
    SecondDevice(const SecondDevice &) = delete;
    SecondDevice &operator=(const SecondDevice &) = delete;

    std::string ask(const std::string &words) {
        process_.write_line(words);
        return process_.read_line().value_or("no reply");
    }
    std::string restore() { return ask("restore /m_data/usr/upload"); }

  private:
    static constexpr char kStick[] = "/tmp/stick";

    /* What the stick holds shows in the second tree, as all entries of /tmp do. */
    static std::vector<std::string> command(const std::string &product, const std::string &key) {
        std::filesystem::create_directories(kStick);
        std::filesystem::copy_file(kBackup, std::string(kStick) + "/backup");
        write_file(std::string(kStick) + "/key", key);
        write_file(std::string(kStick) + "/user_data", "device_product_name=" + product + "\nown=setting\n");
        return {DEVICE_TREE, "--", "sh", "-c",
                "cp /tmp/stick/key /etc/quor_product.key && "
                "mkdir -p /m_data/usr/db /m_data/usr/dbm /m_data/usr/www && "
                "cp /tmp/stick/user_data /m_data/usr/db/user_data.txt && "
                "printf own > /m_data/usr/dbm/database.db && "
                "cp /tmp/stick/backup /m_data/usr/upload && "
                "{ " ZNDB_PROGRAM " & } && exec " BACKUP_DEVICE};
    }

    ChildProcess process_;
};

class OtherDevice : public BackupSystem {
  protected:
    void SetUp() override {
        start_with("ssid=home\nwebs_backup_account=true\n");
        write_file(kAccounts, "accounts");
        write_file(kDataManager, std::string(100000, 'd'));
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    }

    static std::string digest_of(const std::string &bytes) {
        std::string text;
        for (const char byte : backup_bytes::digest(bytes)) {
            char digits[3];
            (void)std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(byte));
            text += digits;
        }
        return text;
    }

    /* A device that refused a backup is as it was. */
    static void expect_unchanged(SecondDevice *device) {
        EXPECT_EQ("setting", device->ask("get own"));
        EXPECT_EQ("ret 3", device->ask("get ssid"));
        EXPECT_EQ(digest_of("own"), device->ask(std::string("digest ") + kDataManager));
        EXPECT_EQ("", device->ask(std::string("digest ") + kAccounts));
        EXPECT_NE("", device->ask("digest /m_data/usr/upload"));
    }
};

TEST_F(OtherDevice, OfTheSameProductAndKeyTakesTheBackup) {
    SecondDevice device(kProduct, some_key());
    EXPECT_EQ("0", device.restore());
    EXPECT_EQ("home", device.ask("get ssid"));
    EXPECT_EQ("ret 3", device.ask("get own"));
    EXPECT_EQ(digest_of(std::string(100000, 'd')), device.ask(std::string("digest ") + kDataManager));
    EXPECT_EQ(digest_of("accounts"), device.ask(std::string("digest ") + kAccounts));
    EXPECT_EQ("", device.ask("digest /m_data/usr/upload"));
}

TEST_F(OtherDevice, OfAnotherProductNameRefusesTheBackupAndIsUnchanged) {
    SecondDevice device("QR-200", some_key());
    EXPECT_EQ("4", device.restore());
    expect_unchanged(&device);
}

TEST_F(OtherDevice, WithAnotherKeyRefusesTheBackupAndIsUnchanged) {
    SecondDevice device(kProduct, some_key(100));
    EXPECT_EQ("21", device.restore());
    expect_unchanged(&device);
    EXPECT_EQ(digest_of(file_text(kBackup)), device.ask("digest /m_data/usr/upload"));
}

}  // namespace
