/*
 * The bytes of record headers and trailers.
 */
#include "frwk_dbrm/format/backup_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/backup_bytes.h"

namespace {

using backup_format::RecordHeader;
using backup_format::RecordHeaderBytes;
using backup_format::Trailer;
using backup_format::TrailerBytes;

template <typename Bytes>
std::string text_of(const Bytes &bytes) {
    return {bytes.begin(), bytes.end()};
}

RecordHeaderBytes header_bytes(const std::string &text) {
    RecordHeaderBytes bytes = {};
    std::copy(text.begin(), text.end(), bytes.begin());
    return bytes;
}

TEST(BackupFormat, WritesARecordHeaderOf136LittleEndianBytes) {
    const std::string bytes =
        text_of(backup_format::to_bytes(backup_format::make_record_header(0x04030201, "/a", 0xD4C3B2A1)));
    EXPECT_EQ(std::string("\x01\x02\x03\x04/a", 6) + std::string(126, '\0') + "\xA1\xB2\xC3\xD4", bytes);
}

TEST(BackupFormat, ReadsTheRecordHeaderThatItWrites) {
    const RecordHeader header = backup_format::record_header_from(
        backup_format::to_bytes(backup_format::make_record_header(2, "/m_data/x", 0xFFFFFFFF)));
    EXPECT_EQ(2u, header.type);
    EXPECT_STREQ("/m_data/x", header.name);
    EXPECT_EQ(0xFFFFFFFFu, header.length);
}

TEST(BackupFormat, WritesATrailerOf24LittleEndianBytes) {
    Trailer trailer = {0x04030201, {}, 0xD4C3B2A1};
    std::memcpy(trailer.md5, "0123456789abcdef", sizeof(trailer.md5));
    const std::string bytes = text_of(backup_format::to_bytes(trailer));
    EXPECT_EQ(
        "\x01\x02\x03\x04"
        "0123456789abcdef"
        "\xA1\xB2\xC3\xD4",
        bytes);
}

TEST(BackupFormat, ReadsTheTrailerThatItWrites) {
    Trailer trailer = {0x7FFFFFFF, {}, 24};
    std::memcpy(trailer.md5, "0123456789abcdef", sizeof(trailer.md5));
    const Trailer read = backup_format::trailer_from(backup_format::to_bytes(trailer));
    EXPECT_EQ(trailer.magic, read.magic);
    EXPECT_EQ(0, std::memcmp(trailer.md5, read.md5, sizeof(trailer.md5)));
    EXPECT_EQ(trailer.body_length, read.body_length);
}

TEST(BackupFormat, KeepsTheLongestName) {
    const std::string name = "/" + std::string(126, 'n');
    RecordHeader header = backup_format::make_record_header(1, name, 0);
    EXPECT_TRUE(backup_format::terminate_name(&header));
    EXPECT_EQ(name, header.name);
}

TEST(BackupFormat, EndsANameThatComesWithoutItsEndAndSaysSo) {
    RecordHeader header =
        backup_format::record_header_from(header_bytes(backup_bytes::header(1, std::string(128, 'n'), 0)));
    EXPECT_FALSE(backup_format::terminate_name(&header));
    EXPECT_EQ(std::string(127, 'n'), header.name);
}

TEST(BackupFormat, HasNoLengthFor4GiB) {
    EXPECT_EQ(0xFFFFFFFFu, backup_format::as_length(0xFFFFFFFFu));
    EXPECT_FALSE(backup_format::as_length(uint64_t{1} << 32));
    EXPECT_FALSE(backup_format::as_length(UINT64_MAX));
}

TEST(BackupFormat, TheProductNameAHasTheMagic97) {
    EXPECT_EQ(97u, backup_format::magic_of("a"));
}

TEST(BackupFormat, AnEmptyProductNameHasTheMagic0) {
    EXPECT_EQ(0u, backup_format::magic_of(""));
}

TEST(BackupFormat, TheMagicIsTheNamesHashWithoutItsTopBit) {
    EXPECT_EQ(97u * 131 + 98, backup_format::magic_of("ab"));
    /* 0xFF * 131^4 + ... passes 32 bits and comes out with the top bit set. */
    uint32_t hash = 0;
    for (int i = 0; i < 5; ++i) {
        hash = hash * 131 + 0xFF;
    }
    ASSERT_NE(0u, hash & 0x80000000u);
    EXPECT_EQ(hash & 0x7FFFFFFFu, backup_format::magic_of("\xFF\xFF\xFF\xFF\xFF"));
}

}  // namespace
