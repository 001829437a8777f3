/*
 * The format of a backup: the header of a data record and the trailer after the last record, for writing and
 * reading. docs/backup-format.md has an example.
 *
 * Pure: does not access files or interpret records. Any thread.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/* The types of data records. Each has a row in restore_record.cpp. */
enum : uint32_t {
    FRWK_DBRM_DATA_FILE = 1, /* a file, restored byte for byte */
    FRWK_DBRM_DATA_DB = 2    /* lines of key=value, set in the database one by one */
};

namespace backup_format {

inline constexpr size_t kNameSize = 128;
inline constexpr size_t kNameLengthMax = kNameSize - 1;
inline constexpr size_t kDigestSize = 16;
inline constexpr size_t kRecordHeaderSize = 136;
inline constexpr size_t kTrailerSize = 24;

/* The header of a record. */
struct RecordHeader {
    uint32_t type;
    char name[kNameSize]; /* absolute path, padded with zeros; may lack its NUL after reading */
    uint32_t length;      /* bytes of data after the header */
};

/* The last part of a backup. */
struct Trailer {
    uint32_t magic;           /* of the product that wrote it */
    uint8_t md5[kDigestSize]; /* digest of the body, which is everything before the trailer */
    uint32_t body_length;     /* bytes of the body */
};

using RecordHeaderBytes = std::array<unsigned char, kRecordHeaderSize>;
using TrailerBytes = std::array<unsigned char, kTrailerSize>;

RecordHeaderBytes to_bytes(const RecordHeader &header);
TrailerBytes to_bytes(const Trailer &trailer);

RecordHeader record_header_from(const RecordHeaderBytes &bytes);
Trailer trailer_from(const TrailerBytes &bytes);

/* Makes the header of a record. name: 1 to kNameLengthMax characters. */
RecordHeader make_record_header(uint32_t type, std::string_view name, uint32_t length);

/* Terminates the name. Returns false if it had no NUL, and has lost its last character. */
bool terminate_name(RecordHeader *header);

/* Converts a number of bytes to a length field; nothing if it doesn't fit. */
std::optional<uint32_t> as_length(uint64_t bytes);

/* The number that binds a backup to products with this name. */
uint32_t magic_of(std::string_view product_name);

}  // namespace backup_format
