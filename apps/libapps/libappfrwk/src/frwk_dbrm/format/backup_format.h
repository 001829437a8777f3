/*
 * The bytes of a backup: the header of a data record and the trailer behind the last one, described once for
 * writing and reading. docs/backup-format.md shows them in a file.
 *
 * Pure: knows nothing of files and of what a record stands for. Any thread.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/* What a data record holds. */
enum : uint32_t {
    FRWK_DBRM_DATA_FILE = 1, /* a file, copied back byte for byte */
    FRWK_DBRM_DATA_DB = 2    /* lines of key=value, set one by one */
};

namespace backup_format {

inline constexpr size_t kNameSize = 128;
inline constexpr size_t kNameLengthMax = kNameSize - 1;
inline constexpr size_t kDigestSize = 16;
inline constexpr size_t kRecordHeaderSize = 136;
inline constexpr size_t kTrailerSize = 24;

/* What stands in front of a record's data. */
struct RecordHeader {
    uint32_t type;
    char name[kNameSize]; /* absolute path, zero-filled; one that was read may lack its NUL */
    uint32_t length;      /* bytes of data behind the header */
};

/* The end of a backup. */
struct Trailer {
    uint32_t magic;           /* of the product that wrote it */
    uint8_t md5[kDigestSize]; /* of all bytes in front of the trailer */
    uint32_t body_length;     /* number of these bytes */
};

using RecordHeaderBytes = std::array<unsigned char, kRecordHeaderSize>;
using TrailerBytes = std::array<unsigned char, kTrailerSize>;

RecordHeaderBytes to_bytes(const RecordHeader &header);
TrailerBytes to_bytes(const Trailer &trailer);

RecordHeader record_header_from(const RecordHeaderBytes &bytes);
Trailer trailer_from(const TrailerBytes &bytes);

/* Makes the header of a record. name: 1 to kNameLengthMax characters. */
RecordHeader make_record_header(uint32_t type, std::string_view name, uint32_t length);

/* Makes sure that the name ends. Returns false when it had no NUL and lost its last character. */
bool terminate_name(RecordHeader *header);

/* A number of bytes as the format holds it; nothing when it is too large for that. */
std::optional<uint32_t> as_length(uint64_t bytes);

/* The number that binds a backup to the products of one name. */
uint32_t magic_of(std::string_view product_name);

}  // namespace backup_format
