#include "unit/libappdb/fake_transport.h"

#include <algorithm>
#include <cstring>

#include "os_log.h"

Transport g_transport;

namespace {

Bytes bytes_of(const void *data, size_t size) {
    const auto *first = static_cast<const unsigned char *>(data);
    return first != nullptr ? Bytes(first, first + size) : Bytes();
}

/* The rest of the answer is zero, as from a module. */
void write_answer(void *rsp, uint32_t rsp_size, const std::string &answer) {
    std::memset(rsp, 0, rsp_size);
    std::memcpy(rsp, answer.data(), std::min<size_t>(answer.size(), rsp_size));
}

}  // namespace

/* Takes the place of the framework's call. */
extern "C" int32_t frwk_ipc_send_sync(uint32_t module, int32_t msgid, const void *req, uint32_t req_len,
                                      void *rsp, uint32_t rsp_size, uint32_t timeout, int32_t *result) {
    Transport &seen = g_transport;
    ++seen.requests;
    seen.module = module;
    seen.msgid = msgid;
    seen.has_body = req != nullptr;
    seen.body = bytes_of(req, req_len);
    seen.answer = rsp;
    seen.answer_size = rsp_size;
    seen.timeout = timeout;
    seen.has_result = result != nullptr;
    if (result != nullptr) {
        seen.result_before = *result;
    }
    if (seen.on_request) {
        seen.on_request(seen);
    }
    if (seen.returns != 0) {
        return seen.returns;
    }

    if (result != nullptr) {
        *result = seen.result;
    }
    if (rsp != nullptr && !seen.bytes.empty()) {
        write_answer(rsp, rsp_size, seen.bytes);
    } else if (rsp != nullptr && seen.result == 0) {
        std::memcpy(rsp, seen.value.c_str(), std::min<size_t>(seen.value.size() + 1, rsp_size));
    }
    return 0;
}

void expect_request(int32_t msgid, const Bytes &body) {
    EXPECT_EQ(1, g_transport.requests);
    EXPECT_EQ(2u, g_transport.module);
    EXPECT_EQ(msgid, g_transport.msgid);
    EXPECT_EQ(body, g_transport.body);
    EXPECT_EQ(!body.empty(), g_transport.has_body);
    EXPECT_EQ(3u, g_transport.timeout);
    EXPECT_TRUE(g_transport.has_result);
    EXPECT_EQ(0, g_transport.result_before);
}

void expect_no_answer_buffer() {
    EXPECT_EQ(nullptr, g_transport.answer);
    EXPECT_EQ(0u, g_transport.answer_size);
}

void ClientTest::expect_logged(const char *function, const std::string &text) const {
    for (const auto &lines : {log_.debug_lines(), log_.system_lines()}) {
        ASSERT_EQ(1u, lines.size()) << log_.text();
        EXPECT_EQ(OS_LOG_WARNING, lines[0].level);
        EXPECT_EQ(function, lines[0].function);
        EXPECT_EQ(text, lines[0].text);
    }
}
