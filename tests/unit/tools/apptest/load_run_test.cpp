#include "apptest/load_run.h"

#include <gtest/gtest.h>

#include "frwk_module.h"
#include "support/wait_until.h"

namespace {

/* Endless, to a module that doesn't run. */
LoadPlan lost_requests() {
    return {{E_APPS_MODULE_WLAN, 40000, ""}, 2, 0, 0, 0, 0, 1};
}

TEST(LoadRun, ARunThatIsGivenUpEndsItsClients) {
    uint64_t finished = 0;
    {
        const LoadRun run(lost_requests());
        ASSERT_TRUE(wait_until([&] { return run.finished() > 3; }));
        finished = run.finished();
    }
    EXPECT_GT(finished, 3u);
}

TEST(LoadRun, CountsWhatWasLostUntilItIsStopped) {
    LoadRun run(lost_requests());
    ASSERT_TRUE(wait_until([&] { return run.finished() > 3; }));
    EXPECT_EQ(0, run.done()) << "without an end";
    run.stop();
    const LoadResult result = run.result();
    EXPECT_EQ(0u, result.answered);
    EXPECT_EQ(run.finished(), result.lost.at(E_APPS_ERR_MODULE));
}

}  // namespace
