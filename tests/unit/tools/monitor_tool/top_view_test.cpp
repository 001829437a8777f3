#include "monitor_tool/top_view.h"

#include <gtest/gtest.h>

#include "monitor_tool/module_columns.h"
#include "output/key_decoder.h"
#include "unit/tools/monitor_tool/made_report.h"

namespace {

constexpr size_t kCount = 30;
constexpr size_t kPage = 10;

class TopViewTest : public testing::Test {
  protected:
    TopViewTest() { view_.sort = "memory"; }

    TopReaction press(int key) { return obey(view_, key, kCount, kPage); }

    void press_all(const std::string &keys) {
        for (const char key : keys) {
            EXPECT_EQ(TopReaction::kRedraw, press(static_cast<unsigned char>(key))) << key;
        }
    }

    size_t after(int key) {
        EXPECT_EQ(TopReaction::kRedraw, press(key));
        return view_.first;
    }

    TopView view_;
};

TEST_F(TopViewTest, OtherKeysChangeNothing) {
    EXPECT_EQ(TopReaction::kNone, press(kNoKey));
    EXPECT_EQ(TopReaction::kNone, press('z'));
    EXPECT_EQ(TopReaction::kNone, press(kOtherKey));
    EXPECT_EQ(TopReaction::kQuit, press('q'));
}

TEST_F(TopViewTest, SortsByTheNextOrPreviousColumn) {
    const std::vector<std::string> names = watched_column_names();
    press_all("s");
    EXPECT_EQ("time", view_.sort);
    press_all("SS");
    EXPECT_EQ("rss", view_.sort);
    view_.sort = names.back();
    press_all("s");
    EXPECT_EQ(names.front(), view_.sort);
    press_all("S");
    EXPECT_EQ(names.back(), view_.sort);
    view_.sort = "flags"; /* of the command line, but not one of these */
    press_all("s");
    EXPECT_EQ(names.front(), view_.sort);
}

TEST_F(TopViewTest, HasKeysForColumns) {
    const std::pair<char, const char *> all[] = {{'c', "cpu"},     {'m', "rss"},  {'n', "name"},
                                                 {'p', "pid"},     {'t', "time"}, {'u', "uptime"},
                                                 {'x', "restarts"}};
    for (const auto &[key, column] : all) {
        view_.first = 5;
        EXPECT_EQ(0u, after(key));
        EXPECT_EQ(column, view_.sort);
    }
    press_all("r");
    EXPECT_TRUE(view_.reverse);
    press_all("i");
    EXPECT_TRUE(view_.running);
}

TEST_F(TopViewTest, Scrolls) {
    EXPECT_EQ(0u, after(kUp));
    EXPECT_EQ(1u, after(kDown));
    EXPECT_EQ(2u, after('j'));
    EXPECT_EQ(1u, after('k'));
    EXPECT_EQ(11u, after(kPageDown));
    EXPECT_EQ(20u, after(' ')) << "the last page";
    EXPECT_EQ(20u, after(kDown));
    EXPECT_EQ(10u, after(kPageUp));
    EXPECT_EQ(0u, after(kHome));
    EXPECT_EQ(20u, after(kEnd));
    EXPECT_EQ(0u, after('g'));
    EXPECT_EQ(20u, after('G'));
    EXPECT_EQ(0u, first_shown(view_, 5, kPage)) << "fewer modules are left";
}

TEST_F(TopViewTest, AnyKeyLeavesTheHelp) {
    press_all("h");
    EXPECT_TRUE(view_.help);
    press_all("q");
    EXPECT_FALSE(view_.help);
    press_all("?");
    EXPECT_TRUE(view_.help);
}

TEST_F(TopViewTest, AFilterIsTyped) {
    press_all("/qs\xC3\xA4\177\177l");
    EXPECT_TRUE(view_.typing);
    EXPECT_EQ("ql", view_.filter);
    EXPECT_EQ(TopReaction::kRedraw, press(kUp)) << "not a character";
    EXPECT_EQ(TopReaction::kRedraw, press(1));
    EXPECT_EQ("ql", view_.filter);
    press_all("\n");
    EXPECT_FALSE(view_.typing);
    EXPECT_EQ("ql", view_.filter);
    EXPECT_EQ(TopReaction::kRedraw, press(kEscape));
    EXPECT_EQ("", view_.filter);
    press_all("/a\177\177");
    EXPECT_EQ("", view_.filter);
    press_all("ab");
    EXPECT_EQ(TopReaction::kRedraw, press(kEscape));
    EXPECT_EQ("", view_.filter);
    EXPECT_FALSE(view_.typing);
}

TEST_F(TopViewTest, SelectsByFilterAndState) {
    const std::vector<ModuleReport> all = {running("wlan", 1, 1), stopped("lcd"), running("router", 9, 1),
                                           hanging("wan")};
    const auto names = [&] {
        std::string joined;
        for (const ModuleReport &report : view_.selected(all)) {
            joined += report.facts.name + " ";
        }
        return joined;
    };
    EXPECT_EQ("wan router wlan lcd ", names()) << "trouble first, then by memory";
    view_.reverse = true;
    EXPECT_EQ("wan lcd wlan router ", names());
    view_.filter = "LAN";
    EXPECT_EQ("wlan ", names());
    view_.filter = "stopped";
    EXPECT_EQ("lcd ", names());
    view_.running = true;
    EXPECT_EQ("", names());
}

TEST_F(TopViewTest, EveryKeyOfTheHelpIsObeyed) {
    for (const KeyHelp &help : top_keys()) {
        EXPECT_NE("", std::string(help.keys));
        EXPECT_NE("", std::string(help.meaning));
    }
    for (const char key : std::string("h?sScmnptuxr/ikj")) {
        TopView view;
        view.sort = "memory";
        EXPECT_EQ(TopReaction::kRedraw, obey(view, key, kCount, kPage)) << key;
    }
}

}  // namespace
