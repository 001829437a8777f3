/*
 * A log daemon that is stopped, or hangs: its socket exists and accepts nothing.
 */
#include <gtest/gtest.h>

#include <string>

#include "support/log_daemon.h"
#include "support/module_process.h"

namespace {

constexpr int kWlan = 5;

/* Fails to reach some modules in turn, so that each failure is another line. */
void let_fail(ModuleProcess *module, int times) {
    for (int i = 0; i < times; ++i) {
        EXPECT_EQ("ret=1", module->ask("async " + std::to_string(6 + i % 10) + " 40000 0 -"));
    }
}

}  // namespace

TEST(StoppedLogDaemon, HoldsNoModuleUp) {
    const LogDaemon daemon;
    ModuleProcess wlan(kWlan);
    let_fail(&wlan, 100);
    EXPECT_LT(daemon.lines().size(), 100u);
}

TEST(StoppedLogDaemon, IsToldWhatItMissedWhenItGoesOn) {
    const LogDaemon daemon;
    ModuleProcess wlan(kWlan);
    let_fail(&wlan, 100);
    (void)daemon.lines();
    let_fail(&wlan, 1);
    EXPECT_NE(std::string::npos, daemon.lines().at(0).find("]: lines that the system log did not take: "));
}
