/*
 * A module that keeps its signals to its main thread, as examples/wlan.c does, loses no request to them.
 */
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "raw_peer.h"
#include "support/child_process.h"
#include "support/wait_until.h"

namespace {

using namespace std::chrono_literals;

constexpr uint32_t kProbe = 7;
constexpr int kRequests = 200;

/* Signals to a process, about one a millisecond. */
class SignalStorm {
  public:
    SignalStorm(pid_t pid, int number)
        : thread_([this, pid, number] {
              while (!over_) {
                  ::kill(pid, number);
                  std::this_thread::sleep_for(1ms);
              }
          }) {}
    ~SignalStorm() {
        over_ = true;
        thread_.join();
    }
    SignalStorm(const SignalStorm &) = delete;
    SignalStorm &operator=(const SignalStorm &) = delete;

  private:
    std::atomic<bool> over_{false};
    std::thread thread_; /* last: it uses the other */
};

bool answers_a_probe(std::chrono::milliseconds pause) {
    RawRequest request = RawRequest::of(kProbe);
    const std::string whole = request.bytes();
    RawConnection peer = RawConnection::to("wlan");
    if (!peer || !peer.send(whole.substr(0, 10))) {
        return false;
    }
    std::this_thread::sleep_for(pause);
    return peer.send(whole.substr(10)) && peer.receive_rest() == words({0, 0});
}

TEST(SignalStorm, LosesNoRequestOfAModuleThatKeepsItsSignalsToItsMainThread) {
    ChildProcess wlan({WLAN_EXAMPLE});
    ASSERT_TRUE(wait_until([] { return answers_a_probe(0ms); }));
    int answered = 0;
    {
        const SignalStorm storm(wlan.pid(), SIGUSR1);
        EXPECT_EQ("on channel 1", wlan.read_line().value_or(""));
        for (int i = 0; i < kRequests; ++i) {
            answered += answers_a_probe(3ms) ? 1 : 0;
        }
    }
    EXPECT_EQ(kRequests, answered);
    EXPECT_EQ(std::string::npos, wlan.errors().find("select recv error!")) << wlan.errors();
    EXPECT_TRUE(wlan.running());
}

}  // namespace
