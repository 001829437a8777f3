/*
 * Backups that were altered on their way: none reaches the database, nothing on the device changes, and the
 * uploaded file is unchanged. A module that records its requests plays the database.
 */
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "frwk_common.h"
#include "support/module_process.h"
#include "system/backup/backup_fixture.h"

namespace {

constexpr int kRandomFlips = 1000;
constexpr size_t kLarge = 256 << 10;
const std::string kUpload = std::string(kFolder) + "/upload.bin";

class ForgedBackup : public testing::Test {
  protected:
    ForgedBackup() {
        static const bool module = [] {
            frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
            return true;
        }();
        EXPECT_TRUE(module);
        make_device_files();
        std::filesystem::create_directories("/m_data/usr/db");
        database_ = std::make_unique<ModuleProcess>(E_APPS_MODULE_ZNDB, quiet());
    }

    static ModuleOptions quiet() {
        ModuleOptions options;
        options.debug = false;
        return options;
    }

    /* A good backup of a device with a data manager's database of so many bytes. */
    std::string make_backup(size_t size) {
        write_file(kUserData, "a=1\n");
        write_file(kDataManager, random_bytes(size, 3));
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        asked_ = database_->messages().size();
        return file_text(kBackup);
    }

    /* Uploads bytes that are to be refused. */
    testing::AssertionResult refused(const std::string &bytes) {
        if (!write_text(kUpload, bytes)) {
            return testing::AssertionFailure() << "no upload";
        }
        const apps_err_e_type ret = frwk_dbrm_restore(kUpload.c_str());
        if (ret != E_APPS_ERR_INTERNAL) {
            return testing::AssertionFailure() << "result " << ret;
        }
        if (file_text(kUpload) != bytes) {
            return testing::AssertionFailure() << "the file did not stay as it came";
        }
        return testing::AssertionSuccess();
    }

    /* After any number of refusals. */
    void expect_nothing_asked_or_changed(size_t size) {
        EXPECT_EQ(asked_, database_->messages().size());
        EXPECT_EQ("a=1\n", file_text(kUserData));
        EXPECT_EQ(random_bytes(size, 3), file_text(kDataManager));
        std::filesystem::remove(kUpload);
        EXPECT_EQ(std::vector<std::string>{"backup.bin"}, names_in(kFolder));
    }

    std::unique_ptr<ModuleProcess> database_;
    size_t asked_ = 0;
};

std::string with_flipped_bit(std::string bytes, size_t bit) {
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << (bit % 8)));
    return bytes;
}

TEST_F(ForgedBackup, AGoodOneIsNotRefused) {
    const std::string good = make_backup(10);
    write_file(kUpload, good);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kUpload.c_str()));
    EXPECT_EQ(asked_ + 5, database_->messages().size()); /* name, reset, save, set, save */
}

TEST_F(ForgedBackup, EverySingleBitOfASmallOneCounts) {
    const std::string good = make_backup(10);
    for (size_t bit = 0; bit < good.size() * 8; ++bit) {
        ASSERT_TRUE(refused(with_flipped_bit(good, bit))) << "bit " << bit;
    }
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, AThousandRandomBitsOfALargeOneCount) {
    const std::string good = make_backup(kLarge);
    std::mt19937 random(20240301);
    std::uniform_int_distribution<size_t> bits(0, good.size() * 8 - 1);
    for (int i = 0; i < kRandomFlips; ++i) {
        const size_t bit = bits(random);
        ASSERT_TRUE(refused(with_flipped_bit(good, bit))) << "bit " << bit;
    }
    expect_nothing_asked_or_changed(kLarge);
}

TEST_F(ForgedBackup, EveryTruncationOfASmallOneIsRefused) {
    const std::string good = make_backup(10);
    for (size_t length = 0; length < good.size(); ++length) {
        ASSERT_TRUE(refused(good.substr(0, length))) << length << " bytes";
    }
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, ATruncatedLargeOneIsRefused) {
    const std::string good = make_backup(kLarge);
    for (size_t left = good.size() - 1; left > 0; left /= 2) {
        ASSERT_TRUE(refused(good.substr(0, left))) << left << " bytes";
    }
    expect_nothing_asked_or_changed(kLarge);
}

TEST_F(ForgedBackup, ExtraBytesAreRefused) {
    const std::string good = make_backup(10);
    for (const size_t extra : {1u, 2u, 16u, 17u, 24u, 1000u, 100000u}) {
        EXPECT_TRUE(refused(good + std::string(extra, '\0'))) << extra;
        EXPECT_TRUE(refused(good + random_bytes(extra, 4))) << extra;
        EXPECT_TRUE(refused(random_bytes(extra, 4) + good)) << extra;
    }
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, TwoJoinedAreRefused) {
    const std::string good = make_backup(10);
    EXPECT_TRUE(refused(good + good));
    EXPECT_TRUE(refused(good + make_backup(10)));
    const std::string large = make_backup(kLarge);
    EXPECT_TRUE(refused(large + large));
    expect_nothing_asked_or_changed(kLarge);
}

TEST_F(ForgedBackup, TheHalvesOfTwoAreRefused) {
    const std::string one = make_backup(kLarge);
    const std::string other = make_backup(kLarge);
    EXPECT_TRUE(refused(one.substr(0, kLarge / 2) + other.substr(kLarge / 2)));
    expect_nothing_asked_or_changed(kLarge);
}

TEST_F(ForgedBackup, AnEmptyFileIsRefused) {
    make_backup(10);
    EXPECT_TRUE(refused(""));
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, AMissingFileAndAFolderAreRefused) {
    make_backup(10);
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kUpload.c_str()));
    std::filesystem::create_directory(kUpload);
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_restore(kUpload.c_str()));
    EXPECT_TRUE(std::filesystem::is_directory(kUpload));
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, APlainBodyIsRefused) {
    make_backup(10);
    EXPECT_TRUE(refused(deciphered(kBackup)));
    EXPECT_TRUE(refused(std::string(24, '\0')));
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, OneOfAnotherKeyIsRefused) {
    const std::string good = make_backup(10);
    write_key_file(kProductKeyPath, some_key(1));
    EXPECT_TRUE(refused(good));
    expect_nothing_asked_or_changed(10);
}

TEST_F(ForgedBackup, OneUnderTwoCiphersIsRefusedByItsTrailer) {
    make_backup(10);
    ASSERT_EQ(1, zn_encrypt_file_ex(kBackup));
    EXPECT_EQ(E_APPS_ERR_FORMAT, frwk_dbrm_restore(kBackup));
    EXPECT_EQ(asked_ + 1, database_->messages().size()); /* the product's name only */
}

}  // namespace
