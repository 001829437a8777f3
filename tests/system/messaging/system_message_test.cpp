/*
 * The messages that every module answers itself, whatever its handler.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "raw_peer.h"
#include "support/module_process.h"

namespace {

std::string answer_to(const RawRequest &request) {
    RawConnection peer = RawConnection::to("router");
    peer.send(request.bytes());
    return peer.receive_rest();
}

RawRequest query(uint32_t msgid, uint32_t rsp_size) {
    RawRequest request = RawRequest::of(msgid);
    request.rsp_size = rsp_size;
    return request;
}

/* Once with a handler and once without: system messages don't care. */
class SystemMessage : public testing::TestWithParam<bool> {
  protected:
    static ModuleOptions options() {
        ModuleOptions options;
        options.registered = GetParam();
        return options;
    }

    ModuleProcess router_{3, options()};
};

TEST_P(SystemMessage, AStatusIsAnsweredAtOnce) {
    EXPECT_EQ(words({0, 4, GetParam() ? 1u : 0u}), answer_to(query(6, 4)));
    EXPECT_TRUE(router_.messages().empty());
}

TEST_P(SystemMessage, AStatusWithThreeBytesOfRoomIsRefused) {
    EXPECT_EQ(words({3, 3}) + std::string(3, '\0'), answer_to(query(6, 3)));
    EXPECT_EQ(words({3, 0}), answer_to(query(6, 0)));
}

TEST_P(SystemMessage, AStatusWithMoreRoomIsFilledUpWithZeros) {
    EXPECT_EQ(words({0, 8, GetParam() ? 1u : 0u, 0}), answer_to(query(6, 8)));
}

TEST_P(SystemMessage, AProbeAlwaysSucceeds) {
    EXPECT_EQ(words({0, 0}), answer_to(query(7, 0)));
    EXPECT_TRUE(router_.messages().empty());
}

TEST_P(SystemMessage, TheLogIsReopened) {
    EXPECT_EQ(words({0, 0}), answer_to(query(5, 0)));
    EXPECT_TRUE(router_.messages().empty());
}

TEST_P(SystemMessage, MemoryUsageIsSixWords) {
    const std::string answer = answer_to(query(8, 24));
    ASSERT_EQ(32u, answer.size());
    EXPECT_EQ(words({0, 24}), answer.substr(0, 8));
    EXPECT_EQ(0x100000u, word_at(answer, 28));  // the bytes at which router warns
}

TEST_P(SystemMessage, MemoryUsageWith23BytesOfRoomIsRefused) {
    EXPECT_EQ(words({3, 23}) + std::string(23, '\0'), answer_to(query(8, 23)));
}

TEST_P(SystemMessage, SystemMessagesOneWayAreTakenToo) {
    for (uint32_t msgid : {5u, 6u, 7u, 8u}) {
        RawRequest request = query(msgid, 24);
        request.async = 1;
        EXPECT_EQ("", answer_to(request));
    }
    EXPECT_EQ(words({0, 0}), answer_to(query(7, 0)));
}

INSTANTIATE_TEST_SUITE_P(Module, SystemMessage, testing::Bool(),
                         [](const auto &param) { return param.param ? "WithAHandler" : "WithoutAHandler"; });

class ExitMessage : public testing::TestWithParam<uint32_t> {};

TEST_P(ExitMessage, EndsTheProcessWithStatus0AfterItsExitHandler) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    const std::string msgid = std::to_string(GetParam());
    EXPECT_EQ("ret=19", wlan.ask("sync 3 " + msgid + " 3 0 -"));
    EXPECT_EQ(0, router.process().exit_status());
    EXPECT_EQ(std::vector<std::string>{"exit " + msgid}, router.messages());
}

TEST_P(ExitMessage, EndsAModuleWithoutExitHandlerToo) {
    ModuleOptions options;
    options.exit_handler = false;
    ModuleProcess router(3, options);
    EXPECT_EQ("", answer_to(query(GetParam(), 100)));
    EXPECT_EQ(0, router.process().exit_status());
    EXPECT_TRUE(router.messages().empty());
}

TEST_P(ExitMessage, EndsAModuleThatHasNotRegistered) {
    ModuleOptions options;
    options.registered = false;
    ModuleProcess router(3, options);
    EXPECT_EQ("", answer_to(query(GetParam(), 0)));
    EXPECT_EQ(0, router.process().exit_status());
}

TEST_P(ExitMessage, EndsAModuleThatGotItOneWay) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    const std::string msgid = std::to_string(GetParam());
    EXPECT_EQ("ret=15", wlan.ask("async 3 " + msgid + " 3 -"));
    EXPECT_EQ(0, router.process().exit_status());
}

TEST_P(ExitMessage, EndsAModuleThatSendsItToItself) {
    ModuleProcess router(3);
    router.tell("sync 3 " + std::to_string(GetParam()) + " 3 0 -");
    EXPECT_EQ(0, router.process().exit_status());
    EXPECT_EQ(std::vector<std::string>{"exit " + std::to_string(GetParam())}, router.messages());
}

INSTANTIATE_TEST_SUITE_P(System, ExitMessage, testing::Values(1u, 2u, 3u, 4u));

TEST(ExitMessages, EndAModuleWhoseMainThreadIsParked) {
    ModuleProcess router(3);
    router.process().close_input();
    EXPECT_EQ(words({0, 0}), answer_to(query(7, 0)));
    EXPECT_EQ("", answer_to(query(1, 0)));
    EXPECT_EQ(0, router.process().exit_status());
}

TEST(ExitMessages, AModuleThatEndedCanBeStartedAgain) {
    {
        ModuleProcess router(3);
        EXPECT_EQ("", answer_to(query(1, 0)));
        EXPECT_EQ(0, router.process().exit_status());
    }
    ModuleProcess router(3);
    EXPECT_EQ(words({0, 0}), answer_to(query(7, 0)));
}

}  // namespace
