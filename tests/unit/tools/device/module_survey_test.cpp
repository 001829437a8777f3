#include "device/module_survey.h"

#include <gtest/gtest.h>

#include "frwk_module.h"
#include "support/wait_until.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace {

constexpr std::chrono::milliseconds kShort{20};
constexpr size_t kHeader = 24;

/* Takes a request and closes the connection, with an answer or without. */
void take_request(const TestListener &listener, const Bytes &answer) {
    const int fd = listener.accept();
    (void)read_bytes(fd, kHeader);
    (void)write_bytes(fd, answer);
    (void)close(fd);
}

TEST(ModuleSurvey, NobodyIsWaitedForWhereNobodyIsAsked) {
    ModuleSurvey survey({}, kPatience);
    survey.begin();
    const auto begin = std::chrono::steady_clock::now();
    survey.wait();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience);
    EXPECT_TRUE(survey.results().empty());
}

TEST(ModuleSurvey, AModuleThatAnswersTheProbeAloneRuns) {
    const TestListener wlan("wlan");
    std::thread module([&wlan] {
        take_request(wlan, words({0, 0}));
        take_request(wlan, {});
        take_request(wlan, {});
    });
    const ProbeResult result = survey_module(E_APPS_MODULE_WLAN, kPatience);
    module.join();
    EXPECT_TRUE(result.probe.done());
    EXPECT_FALSE(result.status);
    EXPECT_FALSE(result.memory);
}

TEST(ModuleSurvey, AModuleThatIsLateIsNotAskedASecondTime) {
    const TestListener wlan("wlan");
    ModuleSurvey survey({E_APPS_MODULE_WLAN}, kShort);
    survey.begin();
    survey.wait();
    EXPECT_EQ(E_APPS_ERR_TIMEOUT, survey.results()[E_APPS_MODULE_WLAN].probe.sent);
    const int first = wlan.accept();
    survey.begin();
    survey.wait();
    EXPECT_FALSE(wlan.has_connection());
    (void)close(first);
    const auto went_away = [&] { return survey.results()[E_APPS_MODULE_WLAN].probe.sent == E_APPS_ERR_READ; };
    EXPECT_TRUE(wait_until(went_away)) << "a late answer counts";
}

}  // namespace
