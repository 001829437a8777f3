/*
 * Peers that answer garbage: the sender reports it and continues.
 */
#include <gtest/gtest.h>

#include <string>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

/* A module that sends to a router played by the test. */
class BadPeer : public testing::Test {
  protected:
    /* The module's reply when its request of 24 bytes, with room for 4, is answered with these bytes. */
    std::string answered_with(const std::string &bytes) {
        wlan_.tell("sync 3 9 3 4 -");
        RawConnection sender = router_.accept();
        EXPECT_EQ(24u, sender.receive(24).size());
        EXPECT_TRUE(sender.send(bytes));
        sender.close();
        return wlan_.reply();
    }

    /* Descriptors are counted when the service thread is up, which has one of its own. */
    void SetUp() override {
        RawConnection probe = RawConnection::to("wlan");
        probe.send(words({9, 7, 0, 5, 0, 0}));
        ASSERT_EQ(words({0, 0}), probe.receive_rest());
        ASSERT_EQ("ret=0 result=0 rsp=61626364", answered_with(words({0, 4}) + "abcd"));
        probe.close();
        descriptors_ = wlan_.process().descriptors();
    }

    void TearDown() override {
        EXPECT_EQ("ret=0 result=0 rsp=61626364", answered_with(words({0, 4}) + "abcd"));
        EXPECT_TRUE(wait_until([this] { return wlan_.process().descriptors() == descriptors_; }));
    }

    bool logged(const std::string &text) { return wlan_.process().wait_for_error(text); }

    RawServer router_{"router"};
    ModuleProcess wlan_{5};
    size_t descriptors_ = 0;
};

TEST_F(BadPeer, AnAnswerCutInItsHeaderIsAFailedRead) {
    EXPECT_EQ("ret=19 rsp=00000000", answered_with("\x01\x02\x03"));
    EXPECT_TRUE(logged("ipc recv rsp header failed!"));
}

TEST_F(BadPeer, NoAnswerAtAllIsAFailedRead) {
    EXPECT_EQ("ret=19 rsp=00000000", answered_with(""));
    EXPECT_TRUE(logged("ipc recv rsp header failed!"));
}

TEST_F(BadPeer, AnAnswerCutInItsDataIsAFailedRead) {
    EXPECT_EQ("ret=19 rsp=00000000", answered_with(words({7, 4}) + "ab"));
    EXPECT_TRUE(logged("ipc recv rsp data failed!"));
}

TEST_F(BadPeer, AnAnswerLongerThanTheRoomIsRefused) {
    EXPECT_EQ("ret=9 rsp=00000000", answered_with(words({7, 5}) + "abcde"));
    EXPECT_TRUE(logged("ipc recv rsp buffer not big enough!"));
}

TEST_F(BadPeer, AnAnswerOfTwoGigabytesIsRefused) {
    EXPECT_EQ("ret=9 rsp=00000000", answered_with(words({7, 0x7FFFFFFF})));
}

TEST_F(BadPeer, ANegativeLengthMeansNoData) {
    EXPECT_EQ("ret=0 result=7 rsp=00000000", answered_with(words({7, 0xFFFFFFFF})));
    EXPECT_EQ("ret=0 result=7 rsp=00000000", answered_with(words({7, 0x80000000})));
}

TEST_F(BadPeer, AShorterAnswerThanTheRoomIsTaken) {
    EXPECT_EQ("ret=0 result=7 rsp=61000000", answered_with(words({7, 1}) + "a"));
    EXPECT_EQ("ret=0 result=7 rsp=00000000", answered_with(words({7, 0})));
}

TEST_F(BadPeer, BytesBehindTheAnswerAreIgnored) {
    EXPECT_EQ("ret=0 result=7 rsp=61626364", answered_with(words({7, 4}) + "abcdefgh"));
    EXPECT_EQ("ret=0 result=7 rsp=61000000", answered_with(words({7, 1}) + "abcd"));
    EXPECT_EQ("ret=0 result=7 rsp=00000000", answered_with(words({7, 0}) + "abcd"));
    EXPECT_EQ("ret=0 result=7 rsp=00000000", answered_with(words({7, 0xFFFFFFFF}) + "abcd"));
}

TEST_F(BadPeer, APeerThatClosesAtOnceIsAFailedReadOrWrite) {
    wlan_.tell("sync 3 9 3 4 zeros:900000");
    router_.accept().close();
    const std::string reply = wlan_.reply();
    EXPECT_TRUE(reply == "ret=18 rsp=00000000" || reply == "ret=19 rsp=00000000") << reply;
}

TEST_F(BadPeer, APeerThatClosesInTheMiddleOfAnAsyncMessageIsAFailedWrite) {
    wlan_.tell("async 3 9 3 zeros:4000000");
    RawConnection sender = router_.accept();
    EXPECT_EQ(1000u, sender.receive(1000).size());
    sender.close();
    EXPECT_EQ("ret=18", wlan_.reply());
    EXPECT_TRUE(logged("ipc send error!"));
    EXPECT_TRUE(logged("ipc send req msg failed!"));
}

TEST_F(BadPeer, AStatusThatIsTooLongReadsAs0) {
    wlan_.tell("status 3");
    RawConnection sender = router_.accept();
    sender.receive(24);
    sender.send(words({0, 8, 1, 1}));
    EXPECT_EQ("status=0", wlan_.reply());
}

TEST_F(BadPeer, AStatusWithAnErrorReadsAs0) {
    wlan_.tell("status 3");
    RawConnection sender = router_.accept();
    sender.receive(24);
    sender.send(words({3, 4, 77}));
    EXPECT_EQ("status=0", wlan_.reply());
}

}  // namespace
