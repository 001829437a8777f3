#include "apptest/arrivals.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

const Arrival kRain = {E_APPS_MODULE_WLAN, 9, "rain"};

std::string printed() {
    return testing::internal::GetCapturedStdout();
}

TEST(Arrivals, NothingMoreIsPrintedOnceThereAreEnough) {
    const SignalWatch watch;
    Arrivals arrivals({1, 0}, false);
    testing::internal::CaptureStdout();
    arrivals.take(kRain);
    arrivals.take({E_APPS_MODULE_WLAN, 9, "more rain"});
    EXPECT_EQ("wlan 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 4 bytes: rain\n", printed());
    EXPECT_EQ(ExitCode::kDone, arrivals.wait(watch));
}

TEST(Arrivals, NothingIsPrintedOnceTheTimeIsUp) {
    const SignalWatch watch;
    Arrivals arrivals({0, 0.001}, false);
    EXPECT_EQ(ExitCode::kDone, arrivals.wait(watch));
    testing::internal::CaptureStdout();
    arrivals.take(kRain);
    EXPECT_EQ("", printed());
}

TEST(Arrivals, AByteIsNoneOfSeveralBytes) {
    Arrivals arrivals({0, 0}, false);
    testing::internal::CaptureStdout();
    arrivals.take({E_APPS_MODULE_WLAN, 9, "x"});
    EXPECT_EQ("wlan 9 E_APPS_MSG_SYS_LANGUAGE_CHANGE 1 byte: x\n", printed());
}

TEST(Arrivals, BytesThatAreNoTextAreShownAsBytesOnly) {
    Arrivals arrivals({0, 0}, true);
    testing::internal::CaptureStdout();
    arrivals.take({E_APPS_MODULE_WLAN, 9, "\xFF"});
    EXPECT_EQ(
        "{\"from\":\"wlan\",\"message\":9,\"name\":\"E_APPS_MSG_SYS_LANGUAGE_CHANGE\",\"length\":1,"
        "\"hex\":\"ff\"}\n",
        printed());
}

TEST(Arrivals, CtrlCIsAnEndLikeAnyOther) {
    const SignalWatch watch;
    Arrivals arrivals({2, 0}, false);
    ASSERT_EQ(0, std::raise(SIGINT));
    EXPECT_EQ(ExitCode::kDone, arrivals.wait(watch));
    EXPECT_EQ(SIGINT, SignalWatch::caught());
}

}  // namespace
