#include "apptest/event_subscriptions.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "frwk_common.h"
#include "support/child.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;

/* Folders for events and locks. Each tool is a process of its own, since a start is for good. */
class EventSubscriptionsTest : public testing::Test {
  protected:
    EventSubscriptionsTest() {
        fs::remove_all(kFolder);
        fs::create_directories(kFolder);
        fs::create_directories("/tmp/m_tmp/lock");
    }
    ~EventSubscriptionsTest() override { fs::remove_all(kFolder); }

    /* What a body reports as the module apptest. */
    static ChildEnd as_apptest(const std::function<std::string()> &body) {
        return run_in_child([&] {
            frwk_module_init(E_APPS_MODULE_APPTEST, nullptr);
            return body();
        });
    }
    static std::string number(ExitCode code) { return std::to_string(static_cast<int>(code)); }

    static constexpr char kFolder[] = "/m_data/usr/subscribe";
    static constexpr char kLink[] = "/m_data/usr/subscribe/link";
};

TEST_F(EventSubscriptionsTest, LastUntilTheyAreEnded) {
    const ChildEnd end = as_apptest([] {
        EventSubscriptions subscriptions;
        std::string steps = number(subscriptions.begin({"link"}));
        steps += " " + read_file(kLink);
        steps += number(subscriptions.end(ExitCode::kDone));
        steps += " " + read_file(kLink);
        return steps + number(subscriptions.end(ExitCode::kRefused));
    });
    EXPECT_EQ("0 apptest\n0 1", end.report);
}

TEST_F(EventSubscriptionsTest, BeginUntilOneFails) {
    const ChildEnd end = as_apptest([] {
        EventSubscriptions subscriptions;
        const std::string code = number(subscriptions.begin({"link", "no/event", "other"}));
        return code + " " + read_file(kLink) + (exists("/m_data/usr/subscribe/other") ? "other" : "");
    });
    EXPECT_EQ("1 apptest\n", end.report);
    EXPECT_NE(std::string::npos, end.errors.find("subscribe 'no/event' failed: ")) << end.errors;
    EXPECT_NE(std::string::npos, end.errors.find("; the event's name is not a valid file name\n"))
        << end.errors;
}

TEST_F(EventSubscriptionsTest, NameAFolderThatIsMissing) {
    const ChildEnd end = as_apptest([] {
        fs::remove_all(kFolder);
        EventSubscriptions subscriptions;
        return number(subscriptions.begin({"link"}));
    });
    EXPECT_EQ("1", end.report);
    EXPECT_NE(std::string::npos, end.errors.find("; the folder /m_data/usr/subscribe")) << end.errors;
}

/* Unsubscribing removes each line that contains the module's name. */
TEST_F(EventSubscriptionsTest, AreNotForAModuleWhoseNameIsAPartOfAnother) {
    EXPECT_EQ("", obstacle_to_subscribing(E_APPS_MODULE_WLAN));
    EXPECT_EQ("can't subscribe as monitor: unsubscribing would remove monitor_tool, whose name contains it",
              obstacle_to_subscribing(E_APPS_MODULE_MONITOR));
}

}  // namespace
