/*
 * The layout of the two headers, byte by byte.
 */
#include "frwk_common/ipc_wire.h"

#include <gtest/gtest.h>

#include "unit/frwk_common/wire_bytes.h"

namespace {

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

TEST(IpcWire, RequestHeaderIsTwentyFourBytesLowByteFirst) {
    frwk_ipc_header header;
    header.src = 3;
    header.msgid = 0x07D2;
    header.async = 0;
    header.timeout = 0x01020304;
    header.rsp_size = 0x0400;
    header.data_len = 0x20;
    const Bytes expected = {3, 0, 0, 0, 0xD2, 7, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1, 0, 4, 0, 0, 0x20, 0, 0, 0};
    EXPECT_EQ(bytes_of(header), expected);
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
