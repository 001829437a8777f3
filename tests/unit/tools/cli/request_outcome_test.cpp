#include "cli/request_outcome.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

/* "CODE COMPLAINT", without the program's name and the line end. */
std::string report(const RequestOutcome &outcome, uint32_t module = E_APPS_MODULE_WLAN) {
    testing::internal::CaptureStderr();
    const ExitCode code = report_outcome(outcome, module, "call");
    std::string line = testing::internal::GetCapturedStderr();
    line.erase(line.find_last_not_of('\n') + 1);
    line.erase(0, line.find(": ") == std::string::npos ? 0 : line.find(": ") + 2);
    return std::to_string(static_cast<int>(code)) + " " + line;
}

RequestOutcome lost(apps_err_e_type code) {
    return {code, E_APPS_ERR_SUCCESS};
}

TEST(RequestOutcome, SaysNothingOfARequestThatWentWell) {
    EXPECT_EQ("0 ", report({E_APPS_ERR_SUCCESS, E_APPS_ERR_SUCCESS}));
    EXPECT_EQ("0 ", report({E_APPS_ERR_ASYNC, E_APPS_ERR_SUCCESS}));
}

TEST(RequestOutcome, SaysWhyARequestWasNotDelivered) {
    EXPECT_EQ("3 call failed: wlan is not running: 1 E_APPS_ERR_MODULE", report(lost(E_APPS_ERR_MODULE)));
    EXPECT_EQ("3 call failed: wlan did not answer in time: 2 E_APPS_ERR_TIMEOUT",
              report(lost(E_APPS_ERR_TIMEOUT)));
    EXPECT_EQ("3 call failed: wlan went away without an answer: 19 E_APPS_ERR_READ",
              report(lost(E_APPS_ERR_READ)));
    EXPECT_EQ("3 call failed: wlan did not take the request: 18 E_APPS_ERR_WRITE",
              report(lost(E_APPS_ERR_WRITE)));
}

TEST(RequestOutcome, AFailureOfTheToolItselfIsNotTheModules) {
    EXPECT_EQ("1 call failed: wlan could not be asked: 5 E_APPS_ERR_MALLOC", report(lost(E_APPS_ERR_MALLOC)));
}

TEST(RequestOutcome, ShowsWhatTheModuleAnswered) {
    EXPECT_EQ("1 call failed: 7 E_APPS_ERR_NOTFOUND", report({E_APPS_ERR_SUCCESS, E_APPS_ERR_NOTFOUND}));
    EXPECT_EQ("1 call failed: 17 E_APPS_ERR_BUSY; try again later",
              report({E_APPS_ERR_SUCCESS, E_APPS_ERR_BUSY}));
}

TEST(RequestOutcome, AModuleWithoutANameIsCalledTheModule) {
    EXPECT_EQ("3 call failed: the module is not running: 1 E_APPS_ERR_MODULE",
              report(lost(E_APPS_ERR_MODULE), 45));
}

}  // namespace
