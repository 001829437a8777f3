/*
 * The bytes on the wire, written by hand: modules built long ago send and expect exactly these.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

using namespace std::chrono_literals;

/* A text of bytes, zeros included. */
template <size_t kSize>
std::string bytes(const char (&literal)[kSize]) {
    return std::string(literal, kSize - 1);
}

TEST(Wire, ASyncRequestIsSixWordsAndTheBody) {
    RawServer router("router");
    ModuleProcess wlan(5);
    wlan.tell("sync 3 40000 7 16 text:abc");
    RawConnection sender = router.accept();
    EXPECT_EQ(bytes("\x05\x00\x00\x00"  // the sender, module 5
                    "\x40\x9c\x00\x00"  // message 40000
                    "\x00\x00\x00\x00"  // an answer is expected
                    "\x07\x00\x00\x00"  // seven seconds
                    "\x10\x00\x00\x00"  // room for sixteen bytes
                    "\x03\x00\x00\x00"  // three bytes follow
                    "abc"),
              sender.receive(27));
    EXPECT_TRUE(sender.stays_silent(50ms));

    sender.send(
        bytes("\x07\x00\x00\x00"  // the handler's result
              "\x03\x00\x00\x00"  // three bytes follow
              "xyz"));
    EXPECT_EQ("ret=0 result=7 rsp=78797a00000000000000000000000000", wlan.reply());
    EXPECT_TRUE(sender.closes());
}

TEST(Wire, ARequestWithoutBodyAndAnswerIsTheHeaderAlone) {
    RawServer router("router");
    ModuleProcess wlan(5);
    wlan.tell("sync 3 -2 0 0 -");
    RawConnection sender = router.accept();
    EXPECT_EQ(bytes("\x05\x00\x00\x00"
                    "\xfe\xff\xff\xff"
                    "\x00\x00\x00\x00"
                    "\x00\x00\x00\x00"
                    "\x00\x00\x00\x00"
                    "\x00\x00\x00\x00"),
              sender.receive(24));
    EXPECT_TRUE(sender.stays_silent(50ms));
    sender.send(bytes("\xff\xff\xff\xff\x00\x00\x00\x00"));
    EXPECT_EQ("ret=0 result=-1", wlan.reply());
}

TEST(Wire, AnAsyncMessageIsMarkedAndItsSenderLeavesAtOnce) {
    RawServer router("router");
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=15", wlan.ask("async 3 9 3 text:hi"));
    RawConnection sender = router.accept();
    EXPECT_EQ(bytes("\x05\x00\x00\x00"
                    "\x09\x00\x00\x00"
                    "\x01\x00\x00\x00"
                    "\x03\x00\x00\x00"
                    "\x00\x00\x00\x00"
                    "\x02\x00\x00\x00"
                    "hi"),
              sender.receive_rest());
}

TEST(Wire, EachMessageTakesAConnectionOfItsOwn) {
    RawServer router("router");
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=15", wlan.ask("async 3 9 3 -"));
    EXPECT_EQ("ret=15", wlan.ask("async 3 10 3 -"));
    EXPECT_EQ(24u, router.accept().receive_rest().size());
    EXPECT_EQ(24u, router.accept().receive_rest().size());
}

TEST(Wire, AStatusQueryIsMessage6WithRoomForFourBytes) {
    RawServer router("router");
    ModuleProcess wlan(5);
    wlan.tell("status 3");
    RawConnection sender = router.accept();
    EXPECT_EQ(bytes("\x05\x00\x00\x00"
                    "\x06\x00\x00\x00"
                    "\x00\x00\x00\x00"
                    "\x03\x00\x00\x00"
                    "\x04\x00\x00\x00"
                    "\x00\x00\x00\x00"),
              sender.receive(24));
    sender.send(bytes("\x00\x00\x00\x00\x04\x00\x00\x00\x78\x56\x34\x12"));
    EXPECT_EQ("status=305419896", wlan.reply());
}

TEST(Wire, AModuleReadsARequestWrittenByHand) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(
        bytes("\x0b\x00\x00\x00"
              "\x41\x9c\x00\x00"
              "\x00\x00\x00\x00"
              "\x05\x00\x00\x00"
              "\x00\x00\x00\x00"
              "\x04\x00\x00\x00"
              "\xf9\xff\xff\xff"));
    EXPECT_EQ(bytes("\xf9\xff\xff\xff\x00\x00\x00\x00"), sender.receive_rest());
    EXPECT_EQ(std::vector<std::string>{"11 40001 4 f9ffffff"}, router.messages());
}

TEST(Wire, AnAnswerIsTheResultTheLengthAndTheDataFilledUpWithZeros) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(
        bytes("\x05\x00\x00\x00"
              "\x40\x9c\x00\x00"
              "\x00\x00\x00\x00"
              "\x05\x00\x00\x00"
              "\x06\x00\x00\x00"
              "\x03\x00\x00\x00"
              "abc"));
    EXPECT_EQ(bytes("\x00\x00\x00\x00"
                    "\x06\x00\x00\x00"
                    "abc\x00\x00\x00"),
              sender.receive_rest());
}

TEST(Wire, ARoomOf100BytesIsAnsweredWith108EvenWhenTheHandlerWroteNothing) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(words({5, 9, 0, 5, 100, 0}));
    EXPECT_EQ(words({0, 100}) + std::string(100, '\0'), sender.receive_rest());
}

TEST(Wire, AnAsyncRequestGetsNoAnswer) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(words({5, 9, 1, 5, 100, 0}));
    EXPECT_EQ("", sender.receive_rest());
    EXPECT_EQ(std::vector<std::string>{"5 9 0 -"}, router.messages());
}

TEST(Wire, AnyAsyncWordButZeroMeansNoAnswer) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(words({5, 9, 0x80000000u, 5, 100, 0}));
    EXPECT_EQ("", sender.receive_rest());
    EXPECT_EQ(1u, router.messages().size());
}

TEST(Wire, ARequestMayArriveInSmallPieces) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    for (const char byte : words({5, 40000, 0, 5, 3, 3}) + "abc") {
        ASSERT_TRUE(sender.send(std::string(1, byte)));
    }
    EXPECT_EQ(words({0, 3}) + "abc", sender.receive_rest());
}

TEST(Wire, BytesBehindTheBodyAreIgnored) {
    ModuleProcess router(3);
    RawConnection sender = RawConnection::to("router");
    sender.send(words({5, 40000, 0, 5, 3, 3}) + "abc");
    EXPECT_EQ(words({0, 3}) + "abc", sender.receive(11));
    RawConnection next = RawConnection::to("router");
    next.send(words({5, 40000, 0, 5, 3, 3}) + "abcdefgh");
    EXPECT_EQ(words({0, 3}) + "abc", next.receive(11));
    EXPECT_EQ(2u, router.messages().size());
}

TEST(Wire, AnAnswerMayArriveInSmallPieces) {
    RawServer router("router");
    ModuleProcess wlan(5);
    wlan.tell("sync 3 40000 7 4 -");
    RawConnection sender = router.accept();
    sender.receive(24);
    for (const char byte : words({9, 4}) + "abcd") {
        ASSERT_TRUE(sender.send(std::string(1, byte)));
    }
    EXPECT_EQ("ret=0 result=9 rsp=61626364", wlan.reply());
}

}  // namespace
