#include "cli/limited_request.h"

#include <gtest/gtest.h>

#include <thread>

#include "frwk_module.h"
#include "support/wait_until.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace {

constexpr std::chrono::milliseconds kShort{20};
constexpr size_t kHeader = 24;

RequestOutcome ask_wlan(std::chrono::milliseconds limit, std::string *answer) {
    return send_request_within(limit, E_APPS_MODULE_WLAN, E_APPS_MSG_SYS_STATUS, "", answer);
}

TEST(LimitedRequest, EndsWithItsTimeAndWithoutAnAnswer) {
    const TestListener wlan("wlan");
    std::string answer = "same";
    const RequestOutcome outcome = ask_wlan(kShort, &answer);
    EXPECT_EQ(E_APPS_ERR_TIMEOUT, outcome.sent);
    EXPECT_FALSE(outcome.delivered());
    EXPECT_EQ("same", answer);
}

TEST(LimitedRequest, GivesAnAnswerWithinItsTime) {
    const TestListener wlan("wlan");
    std::thread module([&wlan] {
        const int fd = wlan.accept();
        const Bytes request = read_bytes(fd, kHeader);
        EXPECT_EQ(kPatience.count(), request.at(12)) << "the limit on the wire, in seconds";
        (void)write_bytes(fd, words({0, 4, 7}));
        (void)close(fd);
    });
    std::string answer(4, '\0');
    const RequestOutcome outcome = ask_wlan(kPatience, &answer);
    module.join();
    EXPECT_TRUE(outcome.done());
    EXPECT_EQ(std::string("\7\0\0\0", 4), answer);
}

TEST(LimitedRequest, APartOfASecondIsAWholeOneForTheModule) {
    const TestListener wlan("wlan");
    std::thread module([&wlan] {
        const int fd = wlan.accept();
        EXPECT_EQ(1, read_bytes(fd, kHeader).at(12));
        (void)close(fd);
    });
    std::string answer;
    (void)ask_wlan(kShort, &answer);
    module.join();
}

TEST(LimitedRequest, AModuleThatIsAbsentIsNotWaitedFor) {
    std::string answer;
    EXPECT_EQ(E_APPS_ERR_MODULE,
              send_request_within(kPatience, E_APPS_MODULE_LCD, E_APPS_MSG_SYS_PROBE, "", &answer).sent);
}

}  // namespace
