/*
 * A transport that the test plays: it records what the client sends, and answers as the test wants.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "doubles/log_capture.h"

using Bytes = std::vector<unsigned char>;

/* What the client asked the transport for, and what the transport does. */
struct Transport {
    int requests = 0;
    uint32_t module = 0;
    int32_t msgid = 0;
    bool has_body = false;
    Bytes body;
    void *answer = nullptr;
    uint32_t answer_size = 0;
    uint32_t timeout = 0;
    bool has_result = false;
    int32_t result_before = -1;

    int32_t returns = 0;
    int32_t result = 0;
    std::string value;                                         /* the answer of a get, with its NUL */
    std::string bytes = {};                                    /* any other answer, also beside a result */
    std::function<void(Transport &transport)> on_request = {}; /* may change the answer */
};

extern Transport g_transport;

void expect_request(int32_t msgid, const Bytes &body);
void expect_no_answer_buffer();

class ClientTest : public testing::Test {
  protected:
    ClientTest() { g_transport = Transport(); }

    /* Expects one message, at the warning level, in both channels. */
    void expect_logged(const char *function, const std::string &text) const;
    void expect_nothing_logged() const { EXPECT_EQ("", log_.text()); }

    LogCapture log_;
};
