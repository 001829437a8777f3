/*
 * The trailer: appended to a body, checked and cut off.
 */
#include "frwk_dbrm/format/backup_trailer.h"

#include <unistd.h>

#include "frwk_dbrm/format/backup_format.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::digest;
using backup_bytes::packed;
using backup_bytes::trailer;

const std::string kBody = "a body of any bytes";
constexpr uint32_t kBodyLength = 19;

class BackupTrailer : public DbrmTest {
  protected:
    void expect_warning(const char *function, const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, function, text));
    }

    void expect_refused(const std::string &file, apps_err_e_type expected, const std::string &text) {
        write(kBackup, file);
        EXPECT_EQ(expected, backup::strip_trailer(kBackup));
        expect_warning("frwk_dbrm_unpack", text);
    }
};

class DeviceMagic : public BackupTrailer {};

TEST_F(DeviceMagic, IsMadeOfTheProductsName) {
    uint32_t magic = 1;
    EXPECT_TRUE(backup::read_magic(&magic));
    EXPECT_EQ(97u, magic);
    ASSERT_EQ(1u, database().requests.size());
    EXPECT_EQ("device_product_name", database().requests[0].key);
    EXPECT_EQ(64u, database().requests[0].size);
}

TEST_F(DeviceMagic, OfAnEmptyNameIs0) {
    store("device_product_name", "");
    uint32_t magic = 1;
    EXPECT_TRUE(backup::read_magic(&magic));
    EXPECT_EQ(0u, magic);
}

TEST_F(DeviceMagic, TakesANameOf63CharactersAndNoLongerOne) {
    store("device_product_name", std::string(63, 'n'));
    uint32_t magic = 1;
    EXPECT_TRUE(backup::read_magic(&magic));
    EXPECT_EQ(backup_format::magic_of(std::string(63, 'n')), magic);

    store("device_product_name", std::string(64, 'n'));
    EXPECT_FALSE(backup::read_magic(&magic));
    expect_warning("frwk_dbrm_get_magic", "zndb get product name failed!");
}

TEST_F(DeviceMagic, IsLeftAloneWithoutAName) {
    database().plain.clear();
    uint32_t magic = 1;
    EXPECT_FALSE(backup::read_magic(&magic));
    EXPECT_EQ(1u, magic);
    expect_warning("frwk_dbrm_get_magic", "zndb get product name failed!");
}

TEST_F(BackupTrailer, IsAppendedBehindTheBody) {
    write(kBackup, kBody);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::append_trailer(kBackup));
    EXPECT_EQ(kBody + trailer(kMagic, digest(kBody), kBodyLength), file_text(kBackup));
}

TEST_F(BackupTrailer, OfAnEmptyBodyHoldsTheDigestOfNothing) {
    write(kBackup, "");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::append_trailer(kBackup));
    const std::string md5_of_nothing("\xd4\x1d\x8c\xd9\x8f\x00\xb2\x04\xe9\x80\x09\x98\xec\xf8\x42\x7e", 16);
    EXPECT_EQ(trailer(kMagic, md5_of_nothing, 0), file_text(kBackup));
}

TEST_F(BackupTrailer, IsNotMadeWithoutAProductName) {
    write(kBackup, kBody);
    database().plain.clear();
    EXPECT_EQ(E_APPS_ERR_INTERNAL, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", "get device magic failed!");
    EXPECT_EQ(kBody, file_text(kBackup));
}

TEST_F(BackupTrailer, IsNotMadeWithoutADigest) {
    EXPECT_EQ(E_APPS_ERR_INTERNAL, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", "calc backup file md5sum failed!");
    EXPECT_FALSE(exists(kBackup));
}

TEST_F(BackupTrailer, IsNotAppendedToAFileThatCanNotBeOpened) {
    write(kBackup, kBody);
    refuse_to_open(kBackup, "ab+e", EACCES);
    EXPECT_EQ(E_APPS_ERR_IO, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", with_errno("append open backup file error!", EACCES));
}

TEST_F(BackupTrailer, IsNotAppendedToABodyOf4GiB) {
    write(kBackup, "");
    ASSERT_EQ(0, ::truncate(kBackup, off_t{1} << 32));
    doubles::base::md5_encrypt_file.stand_in([](const char *, uint8_t *) { return 1; });
    EXPECT_EQ(E_APPS_ERR_FORMAT, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", "backup file is too large!");
    EXPECT_EQ(uint64_t{1} << 32, std::filesystem::file_size(kBackup));
}

TEST_F(BackupTrailer, ThatIsNotTakenIsAWriteError) {
    write(kBackup, kBody);
    fill_disk_after(0);
    EXPECT_EQ(E_APPS_ERR_WRITE, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", with_errno("append write backup file error!", ENOSPC));
}

TEST_F(BackupTrailer, ThatIsLostOnClosingIsAWriteErrorToo) {
    write(kBackup, kBody);
    doubles::libc::fclose.stand_in([](FILE *file) {
        (void)doubles::libc::fclose.real(file);
        errno = EIO;
        return EOF;
    });
    EXPECT_EQ(E_APPS_ERR_WRITE, backup::append_trailer(kBackup));
    expect_warning("frwk_dbrm_pack", with_errno("append write backup file error!", EIO));
}

TEST_F(BackupTrailer, IsCutOffAGoodFile) {
    write(kBackup, packed(kBody, kMagic));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::strip_trailer(kBackup));
    EXPECT_EQ(kBody, file_text(kBackup));
    EXPECT_EQ("", log().text());
}

TEST_F(BackupTrailer, Of24BytesAloneIsABackupWithoutRecords) {
    write(kBackup, packed("", kMagic));
    ASSERT_EQ(24u, file_text(kBackup).size());
    EXPECT_EQ(E_APPS_ERR_SUCCESS, backup::strip_trailer(kBackup));
    EXPECT_TRUE(exists(kBackup));
    EXPECT_EQ("", file_text(kBackup));
}

TEST_F(BackupTrailer, DoesNotFitAFileOf23BytesWhateverTheProduct) {
    expect_refused(std::string(23, '\0'), E_APPS_ERR_FORMAT, "invalid restore file hdr format!");
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(BackupTrailer, DoesNotFitAnEmptyFile) {
    expect_refused("", E_APPS_ERR_FORMAT, "invalid restore file hdr format!");
}

TEST_F(BackupTrailer, OfAMissingFileIsAnIoError) {
    EXPECT_EQ(E_APPS_ERR_IO, backup::strip_trailer(kBackup));
    expect_warning("frwk_dbrm_unpack", with_errno("open restore file error!", ENOENT));
}

TEST_F(BackupTrailer, ThatCanNotBeReadIsAReadError) {
    write(kBackup, packed(kBody, kMagic));
    doubles::libc::fread.stand_in([](void *, size_t, size_t, FILE *) -> size_t {
        errno = EIO;
        return 0;
    });
    EXPECT_EQ(E_APPS_ERR_READ, backup::strip_trailer(kBackup));
    expect_warning("frwk_dbrm_unpack", with_errno("read restore file hdr error!", EIO));
    EXPECT_EQ(packed(kBody, kMagic), file_text(kBackup));
}

TEST_F(BackupTrailer, IsNotCheckedWithoutAProductName) {
    database().plain.clear();
    expect_refused(packed(kBody, kMagic), E_APPS_ERR_INTERNAL, "get device magic failed!");
}

TEST_F(BackupTrailer, OfAnotherProductIsRefusedWithItsMagic) {
    expect_refused(packed(kBody, 0xABC), E_APPS_ERR_FORMAT, "invalid restore file magic=0x00000abc!");
    EXPECT_EQ(packed(kBody, 0xABC), file_text(kBackup));
}

TEST_F(BackupTrailer, WithALengthOffByOneIsRefusedThoughTheRestMatches) {
    for (const uint32_t length : {kBodyLength - 1, kBodyLength + 1}) {
        log().clear();
        const std::string file = kBody + trailer(kMagic, digest(kBody), length);
        expect_refused(file, E_APPS_ERR_FORMAT, "invalid restore file data format!");
        EXPECT_EQ(file, file_text(kBackup));
    }
}

TEST_F(BackupTrailer, WithALengthThatWraps32BitsIsRefused) {
    const std::string file = kBody + trailer(kMagic, digest(kBody), 0xFFFFFFFF);
    expect_refused(file, E_APPS_ERR_FORMAT, "invalid restore file data format!");
}

TEST_F(BackupTrailer, IsNotTakenForTheLengthModulo4GiB) {
    write(kBackup, "");
    ASSERT_EQ(0, ::truncate(kBackup, off_t{1} << 32));
    FILE *file = std::fopen(kBackup, "ab");
    const std::string end = trailer(kMagic, digest(""), 0);
    EXPECT_EQ(end.size(), std::fwrite(end.data(), 1, end.size(), file));
    EXPECT_EQ(0, std::fclose(file));

    EXPECT_EQ(E_APPS_ERR_FORMAT, backup::strip_trailer(kBackup));
    expect_warning("frwk_dbrm_unpack", "invalid restore file data format!");
}

TEST_F(BackupTrailer, ThatCanNotBeCutOffIsAnIoError) {
    doubles::libc::truncate.fail(EROFS);
    expect_refused(packed(kBody, kMagic), E_APPS_ERR_IO,
                   with_errno("truncate restore file hdr error!", EROFS));
}

TEST_F(BackupTrailer, IsNotTrustedWithoutADigest) {
    doubles::base::md5_encrypt_file.stand_in([](const char *path, uint8_t *out) {
        return std::string(path) == kBackup ? 0 : doubles::base::md5_encrypt_file.real(path, out);
    });
    expect_refused(packed(kBody, kMagic), E_APPS_ERR_INTERNAL, "md5 encrypt file failed!");
    EXPECT_EQ(kBody, file_text(kBackup));
}

TEST_F(BackupTrailer, OfABodyThatWasAlteredIsRefused) {
    std::string altered = packed(kBody, kMagic);
    altered[0] = static_cast<char>(altered[0] ^ 1);
    expect_refused(altered, E_APPS_ERR_FORMAT, "invalid md5 checksum!");
    EXPECT_EQ(altered.substr(0, kBodyLength), file_text(kBackup));
}

TEST_F(BackupTrailer, WithAnAlteredDigestIsRefused) {
    for (size_t byte = 0; byte < 16; ++byte) {
        log().clear();
        std::string altered = packed(kBody, kMagic);
        altered[kBodyLength + 4 + byte] = static_cast<char>(altered[kBodyLength + 4 + byte] ^ 0x80);
        expect_refused(altered, E_APPS_ERR_FORMAT, "invalid md5 checksum!");
    }
}

}  // namespace
