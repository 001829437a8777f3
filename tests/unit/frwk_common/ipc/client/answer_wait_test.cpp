/*
 * A sender logs a long wait, and signals don't end it.
 */
#include "frwk_common/ipc/client/answer_wait.h"

#include <poll.h>

#include <string>
#include <vector>

#include "support/fake_time.h"
#include "unit/frwk_common/ipc/client/request_fixture.h"

namespace libc = doubles::libc;

namespace {

constexpr char kName[] = "frwk_ipc_send_sync";

class AnswerWaitTest : public IpcRequestTest {
  protected:
    std::string notice(unsigned seconds) {
        return "still waiting for [WLAN]::[E_APPS_MSG_WLAN_SET_FEATURE_PARAMS:5001], " +
               std::to_string(seconds) + " s";
    }
    /* The seconds of all notices, in order. */
    std::vector<unsigned> said() {
        std::vector<unsigned> seconds;
        for (const LogLine &line : log_.system_lines()) {
            for (unsigned each = 1; each <= 10000; ++each) {
                if (line.text == notice(each)) {
                    seconds.push_back(each);
                }
            }
        }
        return seconds;
    }
    void peer_writes_at(int64_t ms) {
        time_.at(ms, [this] { write_bytes(pair_.test(), pattern(1)); });
    }
    ipc::Waited wait() { return wait_.wait(pair_.subject(), POLLIN, 0); }

    FakeTime time_;
    SocketPair pair_;
    ipc::AnswerWait wait_{kName, kWlan, 5001};
};

}  // namespace

TEST_F(AnswerWaitTest, SaysSoAfterFiveSecondsAndEachTimeTheyHaveDoubled) {
    peer_writes_at(45000);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(said(), (std::vector<unsigned>{5, 10, 20, 40}));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kName, notice(5)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kName, notice(40)));
    EXPECT_EQ(time_.limits(), (std::vector<int>{5000, 5000, 10000, 20000, 40000}));
}

TEST_F(AnswerWaitTest, SaysNothingOfAnAnswerThatComesInTime) {
    peer_writes_at(4999);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(AnswerWaitTest, ReadsTheClockOnceForAnAnswerThatComesInTime) {
    peer_writes_at(10);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(libc::clock_gettime.calls(), 1u);
    EXPECT_EQ(libc::poll.calls(), 1u);
}

TEST_F(AnswerWaitTest, CountsAllWaitsOfAMessageTogether) {
    peer_writes_at(3000);
    peer_writes_at(6000);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    read_bytes(pair_.test(), 0);
    read_bytes(pair_.subject(), 1);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(said(), std::vector<unsigned>{5});
    EXPECT_EQ(time_.limits(), (std::vector<int>{5000, 2000, 5000}));
}

TEST_F(AnswerWaitTest, ASignalNeitherEndsTheWaitNorStartsTheClockAnew) {
    time_.signal_each(4000);
    time_.at(4000, [this] { time_.signal_each(0); });
    peer_writes_at(6000);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(said(), std::vector<unsigned>{5});
    EXPECT_EQ(time_.limits(), (std::vector<int>{5000, 1000, 5000}));
}

TEST_F(AnswerWaitTest, AStormOfSignalsNeitherEndsTheWaitNorStartsTheClockAnew) {
    time_.signal_each(1);
    peer_writes_at(21000);
    EXPECT_EQ(wait(), ipc::Waited::kReady);
    EXPECT_EQ(said(), (std::vector<unsigned>{5, 10, 20}));
    EXPECT_GE(time_.limits().size(), 20000u);
}

TEST_F(AnswerWaitTest, ReportsAWaitThatFails) {
    libc::poll.fail(ENOMEM);
    EXPECT_EQ(wait(), ipc::Waited::kFailed);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(AnswerWaitTest, NamesAnEmptySlotUnknown) {
    ipc::AnswerWait nobody(kName, 40, -7);
    peer_writes_at(6000);
    EXPECT_EQ(nobody.wait(pair_.subject(), POLLIN, 0), ipc::Waited::kReady);
    EXPECT_EQ(log_.count("still waiting for [unknown]::["), 1u) << log_.text();
}

TEST_F(AnswerWaitTest, ASynchronousRequestSaysSo) {
    const TestListener wlan("wlan");
    int peer = -1;
    time_.at(0, [&] { peer = wlan.accept(); });
    time_.at(11000, [&] { write_bytes(peer, words({0, 0})); });
    EXPECT_EQ(ask_with({}), 0);
    EXPECT_EQ(said(), (std::vector<unsigned>{5, 10}));
    (void)close(peer);
}

TEST_F(AnswerWaitTest, AMessageThatTheReceiverDoesNotReadSaysSoToo) {
    const TestListener wlan("wlan");
    Bytes message;
    std::thread receiver;
    time_.at(6000, [&] { receiver = std::thread([&] { message = wlan.take_message(); }); });
    EXPECT_EQ(tell(kWlan, pattern(size_t{1} << 20)), 15);
    receiver.join();
    EXPECT_EQ(message.size(), (size_t{1} << 20) + 24);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_send_async", notice(5)));
}
