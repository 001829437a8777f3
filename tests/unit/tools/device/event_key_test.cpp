#include "device/event_key.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

class EventKey : public testing::Test {
  protected:
    EventKey() {
        fs::remove_all("/m_data/usr/subscribe");
        fs::create_directories("/m_data/usr/subscribe");
    }
    ~EventKey() override { fs::remove_all("/m_data/usr/subscribe"); }

    static void subscribe(const std::string &event, const std::string &lines) {
        EXPECT_TRUE(write_text("/m_data/usr/subscribe/" + event, lines));
    }
};

TEST_F(EventKey, OfAMessageIsItsCompleteName) {
    EXPECT_EQ("E_APPS_MSG_SYS_STATUS", event_key("sys_status"));
    EXPECT_EQ("E_APPS_MSG_SYS_STATUS", event_key("E_APPS_MSG_SYS_STATUS"));
}

TEST_F(EventKey, OfNoMessageIsTheWordItself) {
    EXPECT_EQ("link", event_key("link"));
}

TEST_F(EventKey, ThatExistsIsTakenAsItIs) {
    subscribe("sys_status", "wlan\n");
    EXPECT_EQ("sys_status", event_key("sys_status"));
}

TEST_F(EventKey, HasListeners) {
    subscribe("link", "wlan\nnobody\n");
    EXPECT_EQ(Words({"wlan", "nobody"}), listeners_of("link"));
    EXPECT_EQ(Words(), listeners_of("other"));
}

TEST_F(EventKey, IsKnownOnceItHasAFile) {
    EXPECT_EQ(Words(), known_events());
    subscribe("link", "");
    EXPECT_EQ(Words({"link"}), known_events());
}

/* Publishers use the second folder only while the first is missing. */
TEST_F(EventKey, IsOneOfTheFolderThatPublishersUse) {
    fs::create_directories("/m_webui/subscribe");
    EXPECT_TRUE(write_text("/m_webui/subscribe/other", "lcd\n"));
    EXPECT_EQ(Words(), known_events());
    fs::remove_all("/m_data/usr/subscribe");
    EXPECT_EQ(Words({"other"}), known_events());
    EXPECT_EQ(Words({"lcd"}), listeners_of("other"));
    fs::remove_all("/m_webui/subscribe");
}

}  // namespace
