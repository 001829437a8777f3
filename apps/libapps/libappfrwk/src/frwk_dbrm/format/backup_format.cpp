#include "frwk_dbrm/format/backup_format.h"

#include <cstring>
#include <limits>
#include <tuple>

namespace backup_format {

namespace {

constexpr unsigned kBitsPerByte = 8;
constexpr uint32_t kHashSeed = 131;
constexpr uint32_t kMagicMask = 0x7FFFFFFF;

/* The offset and size of a member. */
template <typename Record, typename Member>
struct FieldAt {
    static constexpr size_t kSize = sizeof(Member);
    size_t offset;
    Member Record::*member;
};

template <typename Record, typename Member>
constexpr FieldAt<Record, Member> field_at(size_t offset, Member Record::*member) {
    return {offset, member};
}

constexpr auto kRecordHeaderLayout = std::make_tuple(
    field_at(0, &RecordHeader::type), field_at(4, &RecordHeader::name), field_at(132, &RecordHeader::length));

constexpr auto kTrailerLayout = std::make_tuple(field_at(0, &Trailer::magic), field_at(4, &Trailer::md5),
                                                field_at(20, &Trailer::body_length));

/* The total size of fields if they are adjacent; 0 if there are gaps. */
template <typename... Fields>
constexpr size_t size_of(const std::tuple<Fields...> &layout) {
    size_t end = 0;
    bool adjacent = true;
    std::apply([&](const auto &...field) { ((adjacent &= field.offset == end, end += field.kSize), ...); },
               layout);
    return adjacent ? end : 0;
}

static_assert(size_of(kRecordHeaderLayout) == kRecordHeaderSize);
static_assert(size_of(kTrailerLayout) == kTrailerSize);

void put(uint32_t word, unsigned char *bytes) {
    for (size_t i = 0; i < sizeof(word); ++i) {
        bytes[i] = static_cast<unsigned char>(word >> (kBitsPerByte * i));
    }
}

template <typename Element, size_t kCount>
void put(const Element (&elements)[kCount], unsigned char *bytes) {
    std::memcpy(bytes, elements, kCount);
}

void get(const unsigned char *bytes, uint32_t *word) {
    *word = 0;
    for (size_t i = 0; i < sizeof(*word); ++i) {
        *word |= static_cast<uint32_t>(bytes[i]) << (kBitsPerByte * i);
    }
}

template <typename Element, size_t kCount>
void get(const unsigned char *bytes, Element (*elements)[kCount]) {
    std::memcpy(*elements, bytes, kCount);
}

template <typename Bytes, typename Layout, typename Record>
Bytes write_fields(const Layout &layout, const Record &record) {
    Bytes bytes = {};
    std::apply([&](const auto &...field) { (put(record.*field.member, &bytes[field.offset]), ...); }, layout);
    return bytes;
}

template <typename Record, typename Layout, typename Bytes>
Record read_fields(const Layout &layout, const Bytes &bytes) {
    Record record = {};
    std::apply([&](const auto &...field) { (get(&bytes[field.offset], &(record.*field.member)), ...); },
               layout);
    return record;
}

}  // namespace

RecordHeaderBytes to_bytes(const RecordHeader &header) {
    return write_fields<RecordHeaderBytes>(kRecordHeaderLayout, header);
}

TrailerBytes to_bytes(const Trailer &trailer) {
    return write_fields<TrailerBytes>(kTrailerLayout, trailer);
}

RecordHeader record_header_from(const RecordHeaderBytes &bytes) {
    return read_fields<RecordHeader>(kRecordHeaderLayout, bytes);
}

Trailer trailer_from(const TrailerBytes &bytes) {
    return read_fields<Trailer>(kTrailerLayout, bytes);
}

RecordHeader make_record_header(uint32_t type, std::string_view name, uint32_t length) {
    RecordHeader header = {type, {}, length};
    name.copy(header.name, kNameLengthMax);
    return header;
}

bool terminate_name(RecordHeader *header) {
    const bool ended = std::memchr(header->name, '\0', kNameSize) != nullptr;
    header->name[kNameLengthMax] = '\0';
    return ended;
}

std::optional<uint32_t> as_length(uint64_t bytes) {
    if (bytes > std::numeric_limits<uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(bytes);
}

uint32_t magic_of(std::string_view product_name) {
    uint32_t hash = 0;
    for (const char character : product_name) {
        hash = hash * kHashSeed + static_cast<unsigned char>(character);
    }
    return hash & kMagicMask;
}

}  // namespace backup_format
