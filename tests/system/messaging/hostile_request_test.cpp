/*
 * Malformed requests. After each one the module answers the next valid request, and holds
 * no descriptor and no byte more than before.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr uint32_t kEcho = 40000;
constexpr uint32_t kFill = 40003;
constexpr uint32_t kBlockMax = 64u * 1024 * 1024;
constexpr uint32_t kRspHeader = 8;

struct Held {
    uint32_t bytes = 0;
    uint32_t blocks = 0;

    bool operator==(const Held &other) const { return bytes == other.bytes && blocks == other.blocks; }
};

class HostileRequest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(serves());
        held_ = held();
        descriptors_ = router_.process().descriptors();
    }

    void TearDown() override {
        EXPECT_TRUE(serves());
        EXPECT_TRUE(wait_until([this] { return router_.process().descriptors() == descriptors_; }))
            << router_.process().descriptors() << " descriptors, not " << descriptors_;
        const Held now = held();
        EXPECT_EQ(held_.bytes, now.bytes);
        EXPECT_EQ(held_.blocks, now.blocks);
        EXPECT_TRUE(router_.process().running());
    }

    static bool serves() {
        RawConnection good = RawConnection::to("router");
        RawRequest request = RawRequest::of(kEcho);
        request.rsp_size = 4;
        request.data_len = 4;
        return good.send(request.bytes() + "good") && good.receive_rest() == words({0, 4}) + "good";
    }

    /* A peer that has read the begin of a large answer and reads no more. */
    static RawConnection stopped_reader() {
        RawRequest request = RawRequest::of(kFill);
        request.rsp_size = 32u * 1024 * 1024;
        RawConnection peer = RawConnection::to("router");
        peer.send(request.bytes());
        EXPECT_EQ(1000u, peer.receive(1000).size());
        return peer;
    }

    /* The memory that the module reports. */
    static Held held() {
        RawConnection query = RawConnection::to("router");
        RawRequest request = RawRequest::of(8);
        request.rsp_size = 24;
        query.send(request.bytes());
        const std::string answer = query.receive_rest();
        EXPECT_EQ(32u, answer.size());
        return {word_at(answer, 8), word_at(answer, 16)};
    }

    /* The complete answer to some bytes, sent by a peer that stays connected until it is dropped. */
    static std::string answer_to(const std::string &bytes) {
        RawConnection peer = RawConnection::to("router");
        peer.send(bytes);
        return peer.receive_rest();
    }

    bool logged(const std::string &text) { return router_.process().wait_for_error(text); }

    size_t messages() const { return router_.messages().size(); }

    ModuleProcess router_{3};
    Held held_;
    size_t descriptors_ = 0;
};

TEST_F(HostileRequest, AHeaderThatIsCutShortIsDropped) {
    for (size_t length : {size_t{0}, size_t{1}, size_t{10}, size_t{23}}) {
        RawConnection peer = RawConnection::to("router");
        peer.send(RawRequest().bytes().substr(0, length));
        peer.close();
        EXPECT_TRUE(serves());
    }
    EXPECT_TRUE(logged("recv ipc header error!"));
    EXPECT_EQ(5u, messages());
}

TEST_F(HostileRequest, APeerThatSendsNothingHoldsTheServiceForThreeSeconds) {
    const auto start = Clock::now();
    EXPECT_EQ("", answer_to(""));
    EXPECT_GE(Clock::now() - start, 2900ms);
    EXPECT_TRUE(logged("select recv timeout!"));
    EXPECT_TRUE(logged("recv ipc header error!"));
}

TEST_F(HostileRequest, AHeaderThatStopsInTheMiddleIsDroppedAfterThreeSeconds) {
    const auto start = Clock::now();
    EXPECT_EQ("", answer_to(RawRequest().bytes().substr(0, 20)));
    EXPECT_GE(Clock::now() - start, 2900ms);
}

TEST_F(HostileRequest, ABodyThatNeverComesIsDroppedAfterThreeSeconds) {
    RawRequest request = RawRequest::of(kEcho);
    request.data_len = 100;
    const auto start = Clock::now();
    EXPECT_EQ("", answer_to(request.bytes() + "only a part"));
    EXPECT_GE(Clock::now() - start, 2900ms);
    EXPECT_TRUE(logged("ipc recv body error!"));
    EXPECT_EQ(1u, messages());
}

TEST_F(HostileRequest, ALargeBodyThatNeverComesIsDroppedAfterThreeSeconds) {
    RawRequest request = RawRequest::of(kEcho);
    request.data_len = kBlockMax;
    const auto start = Clock::now();
    EXPECT_EQ("", answer_to(request.bytes()));
    EXPECT_GE(Clock::now() - start, 2900ms);
    EXPECT_EQ(1u, messages());
}

TEST_F(HostileRequest, ABodyThatIsCutShortIsDropped) {
    RawRequest request = RawRequest::of(kEcho);
    for (uint32_t length : {100u, 1024u, 1025u, 5000000u}) {
        request.data_len = length;
        RawConnection peer = RawConnection::to("router");
        peer.send(request.bytes() + std::string(50, 'x'));
        peer.close();
    }
    EXPECT_TRUE(serves());
    EXPECT_EQ(2u, messages());
}

TEST_F(HostileRequest, ANegativeBodyLengthMeansNoBody) {
    RawRequest request = RawRequest::of(kEcho);
    request.rsp_size = 2;
    for (uint32_t length : {0xFFFFFFFFu, 0x80000000u, 0u}) {
        request.data_len = length;
        EXPECT_EQ(words({0, 2}) + std::string(2, '\0'), answer_to(request.bytes()));
    }
    EXPECT_TRUE(router_.wait_for_message("9 40000 -1 -"));
    EXPECT_TRUE(router_.wait_for_message("9 40000 -2147483648 -"));
    EXPECT_TRUE(router_.wait_for_message("9 40000 0 -"));
}

TEST_F(HostileRequest, ABodyOfTwoGigabytesIsRefusedAtOnce) {
    RawRequest request = RawRequest::of(kEcho);
    request.data_len = 0x7FFFFFFF;
    const auto start = Clock::now();
    EXPECT_EQ("", answer_to(request.bytes()));
    EXPECT_LT(Clock::now() - start, 2500ms);
    EXPECT_TRUE(logged("alloc for ipc recv body error!"));
    EXPECT_EQ(1u, messages());
}

TEST_F(HostileRequest, ABodyJustAboveTheLargestBlockIsRefused) {
    RawRequest request = RawRequest::of(kEcho);
    request.data_len = kBlockMax + 1;
    EXPECT_EQ("", answer_to(request.bytes()));
    EXPECT_TRUE(logged("alloc for ipc recv body error!"));
}

TEST_F(HostileRequest, AnAnswerRoomThatCanNotBeHadIsRefusedBeforeTheHandlerRuns) {
    RawRequest request = RawRequest::of(kFill);
    for (uint32_t room :
         {0xFFFFFFFFu, 0xFFFFFFF8u, 0xFFFFFFF7u, 0x80000000u, kBlockMax + 1, kBlockMax - kRspHeader + 1}) {
        SCOPED_TRACE(room);
        request.rsp_size = room;
        EXPECT_EQ("", answer_to(request.bytes()));
    }
    EXPECT_TRUE(logged("alloc for ipc rsp error!"));
    EXPECT_EQ(1u, messages());
}

TEST_F(HostileRequest, AnAnswerRoomThatWrapsAroundIsRefusedForAsyncMessagesToo) {
    RawRequest request = RawRequest::of(kFill);
    request.async = 1;
    request.rsp_size = 0xFFFFFFFF;
    EXPECT_EQ("", answer_to(request.bytes()));
    EXPECT_EQ(1u, messages());
}

TEST_F(HostileRequest, TheLargestAnswerIsServed) {
    RawRequest request = RawRequest::of(kEcho);
    request.rsp_size = kBlockMax - kRspHeader;
    const std::string answer = answer_to(request.bytes());
    EXPECT_EQ(size_t{kBlockMax}, answer.size());
    EXPECT_EQ(words({0, request.rsp_size}), answer.substr(0, 8));
    EXPECT_EQ(std::string::npos, answer.find_first_not_of('\0', 8));
}

TEST_F(HostileRequest, AHandlerThatFillsALargeAnswerReachesItsEnd) {
    RawRequest request = RawRequest::of(kFill);
    request.rsp_size = 1017;
    EXPECT_EQ(words({0, 1017}) + std::string(1017, '\xA5'), answer_to(request.bytes()));
    request.rsp_size = 1016;
    EXPECT_EQ(words({0, 1016}) + std::string(1016, '\xA5'), answer_to(request.bytes()));
}

TEST_F(HostileRequest, APeerMayConnectAndLeaveTwoThousandTimes) {
    for (int i = 0; i < 2000; ++i) {
        ASSERT_TRUE(RawConnection::to("router")) << i;
    }
}

TEST_F(HostileRequest, APeerMayAskAndLeaveTwoThousandTimes) {
    RawRequest request = RawRequest::of(7);
    request.rsp_size = 2000;
    for (int i = 0; i < 2000; ++i) {
        RawConnection peer = RawConnection::to("router");
        ASSERT_TRUE(peer.send(request.bytes())) << i;
    }
}

TEST_F(HostileRequest, APeerThatStopsReadingItsAnswerAndDiesIsGivenUp) {
    stopped_reader().close();
    EXPECT_TRUE(logged("ipc send error!"));
    EXPECT_TRUE(logged("send ipc rsp error!"));
}

TEST_F(HostileRequest, APeerThatStopsReadingItsAnswerHoldsTheServiceUntilItLeaves) {
    RawConnection first = stopped_reader();
    RawRequest request = RawRequest::of(kEcho);
    request.rsp_size = 4;
    RawConnection second = RawConnection::to("router");
    second.send(request.bytes());
    EXPECT_TRUE(second.stays_silent(500ms));
    first.close();
    EXPECT_EQ(words({0, 4, 0}), second.receive_rest());
}

TEST_F(HostileRequest, ARequestThatDripsIsServedHoweverLongItTakes) {
    RawRequest request = RawRequest::of(kEcho);
    request.rsp_size = 4;
    request.data_len = 4;
    RawConnection peer = RawConnection::to("router");
    for (const std::string &piece : {request.bytes().substr(0, 7), request.bytes().substr(7) + "go"}) {
        peer.send(piece);
        EXPECT_TRUE(peer.stays_silent(1600ms));
    }
    peer.send("od");
    EXPECT_EQ(words({0, 4}) + "good", peer.receive_rest());
}

TEST_F(HostileRequest, ASenderThatDoesNotExistIsServed) {
    RawRequest request = RawRequest::of(kEcho);
    for (uint32_t src : {0u, 40u, 53u, 1000u, 0x80000000u, 0xFFFFFFFFu}) {
        request.src = src;
        EXPECT_EQ(words({0, 0}), answer_to(request.bytes()));
        EXPECT_TRUE(router_.wait_for_message(std::to_string(src) + " 40000 0 -"));
    }
}

TEST_F(HostileRequest, ALimitOfAHundredYearsIsServed) {
    RawRequest request = RawRequest::of(kEcho);
    request.timeout = 0xFFFFFFFF;
    EXPECT_EQ(words({0, 0}), answer_to(request.bytes()));
}

TEST_F(HostileRequest, RandomBytesAreServedOrDropped) {
    uint32_t state = 12345;
    for (int i = 0; i < 500; ++i) {
        std::string bytes;
        for (int j = 0; j < 24; ++j) {
            state = state * 1664525u + 1013904223u;
            bytes += static_cast<char>(state >> 24);
        }
        // The four exit messages would do what they are meant to do.
        if (word_at(bytes, 4) >= 1 && word_at(bytes, 4) <= 4) {
            continue;
        }
        RawConnection peer = RawConnection::to("router");
        ASSERT_TRUE(peer.send(bytes));
    }
}

}  // namespace
