/*
 * The layout of the two headers, byte by byte: of a sample of each when this is compiled, for each processor,
 * and of further values when it is run.
 */
#include "formats/ipc_wire.h"

#include <gtest/gtest.h>

#include <array>

#include "unit/frwk_common/ipc/wire_bytes.h"

namespace {

template <size_t kSize>
using RecordBytes = std::array<unsigned char, kSize>;

template <typename Record>
constexpr bool lies_as(const Record &record, const RecordBytes<sizeof(Record)> &expected) {
    const auto bytes = __builtin_bit_cast(RecordBytes<sizeof(Record)>, record);
    for (size_t at = 0; at < bytes.size(); ++at) {
        if (bytes[at] != expected[at]) {
            return false;
        }
    }
    return true;
}

/* The devices and the hosts are all little-endian. */
static_assert(lies_as(frwk_ipc_header{3, 0x07D2, 0, 0x01020304, 0x0400, 0x20},
                      {3, 0, 0, 0, 0xD2, 7, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1, 0, 4, 0, 0, 0x20, 0, 0, 0}));
static_assert(lies_as(frwk_ipc_rsp_header{-2, 0x01020304}, {0xFE, 0xFF, 0xFF, 0xFF, 4, 3, 2, 1}));

template <typename Record>
Bytes bytes_of(const Record &record) {
    Bytes bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

}  // namespace

TEST(IpcWire, RequestHeaderIsSixWordsInOrder) {
    frwk_ipc_header header;
    header.src = 5;
    header.msgid = 2002;
    header.async = 1;
    header.timeout = 3;
    header.rsp_size = 0xFFFFFFFF;
    header.data_len = -2;
    EXPECT_EQ(bytes_of(header), words({5, 2002, 1, 3, 0xFFFFFFFF, 0xFFFFFFFE}));
}

TEST(IpcWire, ResponseHeaderIsTwoWordsInOrder) {
    frwk_ipc_rsp_header header;
    header.result = -1;
    header.rsp_len = 100;
    EXPECT_EQ(bytes_of(header), words({0xFFFFFFFF, 100}));
}

TEST(IpcWire, WordsAreSigned32BitWhereTheySaySo) {
    frwk_ipc_header request;
    frwk_ipc_rsp_header response;
    request.msgid = INT32_MIN;
    request.data_len = INT32_MAX;
    response.result = INT32_MIN;
    response.rsp_len = INT32_MAX;
    EXPECT_LT(request.msgid, 0);
    EXPECT_EQ(word_at(bytes_of(request), 20), 0x7FFFFFFFu);
    EXPECT_EQ(bytes_of(response), words({0x80000000, 0x7FFFFFFF}));
}

TEST(IpcWire, FixedBuffersAndLimitsAreThoseOfTheProtocol) {
    EXPECT_EQ(kIpcFixedBuffer, 1024u);
    EXPECT_EQ(kIpcReceiveLimitSeconds, 3);
    EXPECT_EQ(kIpcNotifyLimitSeconds, 3u);
}
