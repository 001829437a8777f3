/*
 * Backups that a device with the key encrypted, but with malformed content: the log lines, the results,
 * and that the device continues to work.
 */
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "system/backup/backup_fixture.h"

namespace {

using backup_bytes::digest;
using backup_bytes::header;
using backup_bytes::packed;
using backup_bytes::record;
using backup_bytes::trailer;

constexpr uint32_t kMagic = 97; /* of the product "a" */
constexpr char kTarget[] = "/m_data/usr/www/target";

/* A body without a fault. */
std::string body() {
    return record(2, kUserData, "new=1\n");
}

/* The body with a trailer that counts so many bytes more. */
std::string miscounted(uint32_t more) {
    return body() + trailer(kMagic, digest(body()), static_cast<uint32_t>(body().size()) + more);
}

struct WrongInside {
    const char *name;
    std::string (*bytes)(); /* of the file under its cipher */
    const char *result;
    const char *text;
};

void PrintTo(const WrongInside &wrong, std::ostream *out) {
    *out << wrong.name;
}

std::string walked(const std::string &bytes) {
    return packed(bytes, kMagic);
}

/* Refused before anything changes: the file stays. */
const WrongInside kTrailers[] = {
    {"NoByte", [] { return std::string(); }, "4", "invalid restore file hdr format!"},
    {"TwentyThreeBytes", [] { return std::string(23, 'x'); }, "4", "invalid restore file hdr format!"},
    {"AnotherProduct", [] { return packed(body(), 98); }, "4", "invalid restore file magic=0x00000062!"},
    {"MagicWithTopBit", [] { return packed(body(), 0x80000000u | kMagic); }, "4",
     "invalid restore file magic=0x80000061!"},
    {"LengthOneLess", [] { return miscounted(0xFFFFFFFF); }, "4", "invalid restore file data format!"},
    {"LengthOneMore", [] { return miscounted(1); }, "4", "invalid restore file data format!"},
    {"LengthThatWraps", [] { return body() + trailer(kMagic, digest(body()), 0xFFFFFFFF); }, "4",
     "invalid restore file data format!"},
    {"DigestOfAnotherBody",
     [] { return body() + trailer(kMagic, digest("x"), static_cast<uint32_t>(body().size())); }, "4",
     "invalid md5 checksum!"},
    {"NoTrailer", [] { return body(); }, "4", "invalid restore file magic="},
};

/* Refused in the walk, when the configuration is empty already: the file is gone. */
const WrongInside kRecords[] = {
    {"TypeZero", [] { return walked(record(0, kTarget, "x")); }, "4", "invalid data type=0!"},
    {"TypeThree", [] { return walked(record(3, kTarget, "x")); }, "4", "invalid data type=3!"},
    {"TypeInBigEndian", [] { return walked(record(0x01000000, kTarget, "x")); }, "4",
     "invalid data type=16777216!"},
    {"NameWithoutEnd", [] { return walked(record(1, kTarget + std::string(128, 'n'), "x")); }, "4",
     "invalid data name '"},
    {"EmptyName", [] { return walked(record(1, "", "x")); }, "12", "create file error! errno=2"},
    {"NameOfAFolder", [] { return walked(record(1, "/m_data/usr/www", "x")); }, "12",
     "create file error! errno=21"},
    {"HeaderOfOneByte", [] { return walked("x"); }, "19", "read data hdr error!"},
    {"HeaderOf135Bytes", [] { return walked(header(1, kTarget, 0).substr(0, 135)); }, "19",
     "read data hdr error!"},
    {"FileOneByteShort", [] { return walked(header(1, kTarget, 2) + "x"); }, "19",
     "read restore source file error!"},
    {"FileOf4GiB", [] { return walked(header(1, kTarget, 0xFFFFFFFFu) + "x"); }, "19",
     "read restore source file error!"},
    {"FileThatWrapsWithItsHeader", [] { return walked(header(1, kTarget, 0xFFFFFFFFu - 135)); }, "19",
     "read restore source file error!"},
    {"DatabaseOneByteShort", [] { return walked(header(2, kUserData, 7) + "new=1\n"); }, "19",
     "read db file error!"},
    {"DatabaseOf64MiBInAHeaderAlone", [] { return walked(header(2, kUserData, (64u << 20) - 1)); }, "19",
     "read db file error!"},
    {"DatabaseOf4GiB", [] { return walked(header(2, kUserData, 0xFFFFFFFEu)); }, "5",
     "alloc read buffer[4294967295] failed!"},
    {"DatabaseThatWraps", [] { return walked(header(2, kUserData, 0xFFFFFFFFu)); }, "5",
     "alloc read buffer[0] failed!"},
    {"KeyThatTheDatabaseRefuses", [] { return walked(record(2, kUserData, "=v\n")); }, "13",
     "zndb set db data error!"},
    {"ValueThatIsTooLong", [] { return walked(record(2, kUserData, "k=" + std::string(1024, 'v'))); }, "13",
     "zndb set db data error!"},
    {"GarbageBehindTheLastRecord", [] { return walked(body() + std::string(200, '\xFF')); }, "4",
     "invalid data type=4294967295!"},
};

class WrongInsideTest : public BackupSystem, public testing::WithParamInterface<WrongInside> {
  protected:
    void SetUp() override {
        write_file(kUserData, "device_product_name=a\nold=1\n");
        start();
        device_ = std::make_unique<ChildProcess>(std::vector<std::string>{BACKUP_DEVICE},
                                                 std::vector<std::string>{"QUOR_DEBUG=1"});
        ASSERT_EQ("started", device_->read_line());
        write_enciphered(kBackup, GetParam().bytes());
    }

    void expect_failure(const char *call_text) {
        device_->write_line(std::string("restore ") + kBackup);
        EXPECT_EQ(GetParam().result, device_->read_line());
        EXPECT_TRUE(device_->wait_for_error(GetParam().text)) << device_->errors();
        EXPECT_TRUE(device_->wait_for_error(call_text)) << device_->errors();
        EXPECT_FALSE(std::filesystem::exists(kTarget));
    }

    std::unique_ptr<ChildProcess> device_;
};

class WrongTrailer : public WrongInsideTest {};

TEST_P(WrongTrailer, IsRefusedAndNothingChanges) {
    expect_failure("decompression failed!");
    EXPECT_EQ("1", plain("old"));
    EXPECT_TRUE(std::filesystem::exists(kBackup));
}

class WrongRecord : public WrongInsideTest {};

TEST_P(WrongRecord, EndsTheRestoreAndTheDeviceGoesOn) {
    expect_failure("restore process failed!");
    EXPECT_EQ("ret 3", plain("old"));
    EXPECT_FALSE(std::filesystem::exists(kBackup));

    ASSERT_EQ(0, zndb_set("device_product_name", "a"));
    write_enciphered(kBackup, packed(body(), kMagic));
    device_->write_line(std::string("restore ") + kBackup);
    EXPECT_EQ("0", device_->read_line());
    EXPECT_EQ("1", plain("new"));
}

std::string name_of(const testing::TestParamInfo<WrongInside> &info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Backup, WrongTrailer, testing::ValuesIn(kTrailers), name_of);
INSTANTIATE_TEST_SUITE_P(Backup, WrongRecord, testing::ValuesIn(kRecords), name_of);

}  // namespace
