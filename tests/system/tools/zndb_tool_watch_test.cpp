/*
 * zndb_tool watch: changes as lines, as they come.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "frwk_common.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const ToolChecks kTool("zndb_tool");

class ZndbToolWatch : public ZndbTest {
  protected:
    ZndbToolWatch() { start(); }

    /* Starts the tool, and waits until it prints changes: the key begins with the prefix. */
    void watch(const std::string &prefix) {
        tool_ =
            std::make_unique<ChildProcess>(std::vector<std::string>{tool_path("zndb_tool"), "watch", prefix});
        std::thread setter([this, prefix] {
            for (int i = 0; !printed_; ++i) {
                EXPECT_EQ(0, zndb_set((prefix + "first").c_str(), std::to_string(i).c_str()));
                frwk_sleep(10);
            }
        });
        EXPECT_EQ(0u, line().rfind("plain set " + prefix + "first=", 0));
        printed_ = true;
        setter.join();
        EXPECT_EQ(0, zndb_set((prefix + "last").c_str(), ""));
        while (line() != "plain set " + prefix + "last=") {
        }
    }

    std::string line() { return tool_->read_line().value_or("no line"); }

    int interrupt() {
        tool_->send_signal(SIGINT);
        return tool_->exit_status();
    }

    std::unique_ptr<ChildProcess> tool_;
    std::atomic<bool> printed_{false};
};

TEST_F(ZndbToolWatch, PrintsEachChangeAsALine) {
    watch("");
    EXPECT_EQ(0, zndb_set("lan_ip", "10.0.0.1"));
    EXPECT_EQ("plain set lan_ip=10.0.0.1", line());
    EXPECT_EQ(0, zndb_set_perm_data("serial", ""));
    EXPECT_EQ("perm set serial=", line());
    EXPECT_EQ(0, zndb_del("lan_ip"));
    EXPECT_EQ("plain deleted lan_ip", line());
    EXPECT_EQ(0, zndb_del_perm("serial"));
    EXPECT_EQ("perm deleted serial", line());
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("plain reset", line());
    restart();
    EXPECT_EQ("plain resync", line());
    EXPECT_EQ(0, interrupt());
    EXPECT_EQ("", tool_->errors());
}

TEST_F(ZndbToolWatch, PrintsOnlySettingsWithThePrefix) {
    watch("wifi_");
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    EXPECT_EQ(0, zndb_set("wifi_ssid", "1"));
    EXPECT_EQ("plain set wifi_ssid=1", line());
    EXPECT_EQ(0, interrupt());
}

TEST_F(ZndbToolWatch, RefusesAPrefixThatNoKeyHas) {
    kTool.expect_failure(2, "a key has at most 31 characters", {"watch", std::string(32, 'k')});
    kTool.expect_usage("unexpected argument 'b'", {"watch", "a", "b"});
}

TEST_F(ZndbToolWatch, OutputThatCannotBeWrittenEndsIt) {
    std::atomic<bool> ended{false};
    std::thread setter([&ended] {
        for (int i = 0; !ended; ++i) {
            EXPECT_EQ(0, zndb_set("k", std::to_string(i).c_str()));
            frwk_sleep(10);
        }
    });
    const ToolEnd full = run_shell("$TOOLS/zndb_tool watch > /dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("zndb_tool: can't write the output: No space left on device\n", full.errors);
    const ToolEnd left = run_shell("$TOOLS/zndb_tool watch | head -n 1");
    EXPECT_EQ(0, left.status);
    EXPECT_EQ("", left.errors);
    ended = true;
    setter.join();
}

}  // namespace
