/*
 * A long exchange is logged by the waiting sender and by the receiver.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "raw_peer.h"
#include "support/module_process.h"
#include "support/system_log.h"

namespace {

constexpr uint32_t kFill = 40003;

class SlowExchange : public testing::Test {
  protected:
    SystemLog log_; /* before the modules, which look for it as they start */
    ModuleProcess router_{3};
    ModuleProcess wlan_{5};
};

TEST_F(SlowExchange, BothSidesTellOfAHandlerOfSixSeconds) {
    EXPECT_EQ("ret=0 result=0", wlan_.ask("sync 3 40002 3 0 int:6000"));
    const std::string waiting = "still waiting for [ROUTER]::[unknown:40002], 5 s";
    EXPECT_TRUE(wlan_.process().wait_for_error(waiting));
    EXPECT_EQ(1u, log_.count(waiting)) << log_.text();
    EXPECT_EQ(1u, log_.count("still waiting for")) << log_.text();

    const std::string held =
        "process " + std::to_string(wlan_.pid()) + ", module [WLAN], has held the service for 6";
    EXPECT_TRUE(router_.process().wait_for_error(held));
    EXPECT_TRUE(log_.wait_for(held)) << log_.text();
    EXPECT_NE(std::string::npos, log_.find(held).find("ms with [unknown:40002]: in the handler"));
    EXPECT_EQ(1u, log_.count("has held the service")) << log_.text();
}

TEST_F(SlowExchange, AnAnswerThatNobodyReadsIsToldOfWhileItIsSo) {
    RawRequest request = RawRequest::of(kFill);
    request.rsp_size = 4 * 1024 * 1024;
    RawConnection peer = RawConnection::to("router");
    peer.send(request.bytes());
    EXPECT_TRUE(log_.wait_for("waiting for its answer to be read")) << log_.text();
    EXPECT_EQ(1u, log_.count("process " + std::to_string(::getpid()) + ", module [DEVICE]")) << log_.text();
    EXPECT_EQ(request.rsp_size + 8, peer.receive_rest().size());
    EXPECT_EQ(1u, log_.count("has held the service")) << log_.text();
}

}  // namespace
