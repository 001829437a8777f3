#include "formats/subscription_line.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using Names = std::vector<std::string>;

/* The names of a text as a reader takes them, "" for a line without one. */
Names names_in(const std::string &text) {
    Names names;
    SubscriptionLine line;
    for (std::string_view rest = text; !rest.empty();) {
        line.clear();
        rest.remove_prefix(line.take(rest));
        names.emplace_back(line.name());
    }
    return names;
}

/* A text without the part that unsubscribing a name removes. */
std::string without(const std::string &name, std::string text) {
    const TextPart part = subscription_of(name, text);
    return text.erase(part.begin, part.end - part.begin);
}

}  // namespace

TEST(SubscriptionLine, ANameEndsWithALineFeed) {
    EXPECT_EQ(Names({"wlan", "lcd"}), names_in("wlan\nlcd\n"));
    EXPECT_EQ(std::string("wlan") + kSubscriptionEnd, "wlan\n");
}

TEST(SubscriptionLine, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(Names({"wlan", "lcd"}), names_in("wlan\nlcd"));
}

TEST(SubscriptionLine, BlanksAtItsEndDontCount) {
    EXPECT_EQ(Names({"wlan", "", "", " lcd"}), names_in("wlan \t\r\n\n \t\r\n lcd\n"));
}

TEST(SubscriptionLine, ALongLineIsTakenInPiecesOf62) {
    EXPECT_EQ(Names({std::string(62, 'x'), "wlan"}), names_in(std::string(62, 'x') + "wlan\n"));
    EXPECT_EQ(Names({std::string(61, 'x'), "wlan"}), names_in(std::string(61, 'x') + "\nwlan\n"));
}

TEST(SubscriptionLine, ALineMayComeInParts) {
    SubscriptionLine line;
    EXPECT_EQ(2u, line.take("wl"));
    EXPECT_FALSE(line.is_whole());
    EXPECT_EQ(3u, line.take("an\nlcd\n"));
    EXPECT_TRUE(line.is_whole());
    EXPECT_STREQ("wlan", line.name());

    line.clear();
    EXPECT_EQ(60u, line.take(std::string(60, 'x')));
    EXPECT_EQ(2u, line.take("yyy\n"));
    EXPECT_TRUE(line.is_whole());
    EXPECT_EQ(std::string(60, 'x') + "yy", line.name());
}

TEST(SubscriptionLine, ANulEndsTheName) {
    EXPECT_EQ(Names({"wlan"}), names_in(std::string("wlan\0x\n", 7)));
}

TEST(SubscriptionLine, IsEmptyUntilItHasACharacter) {
    SubscriptionLine line;
    EXPECT_TRUE(line.empty());
    EXPECT_FALSE(line.is_whole());
    EXPECT_STREQ("", line.name());
    line.take("w");
    EXPECT_FALSE(line.empty());
    EXPECT_STREQ("w", line.name());
    line.clear();
    EXPECT_TRUE(line.empty());
}

TEST(SubscriptionLine, UnsubscribingRemovesTheLine) {
    EXPECT_EQ("wlan\nsms\n", without("lcd", "wlan\nlcd\nsms\n"));
    EXPECT_EQ("", without("lcd", "lcd\n"));
    EXPECT_EQ("wlan\n", without("lcd", "wlan\nlcd"));
}

TEST(SubscriptionLine, UnsubscribingTakesTheFirstPlaceOfTheName) {
    EXPECT_EQ("oma\n", without("oma", "omadm\noma\n"));
    EXPECT_EQ("xlcd\n", without("oma", "xoma\nlcd\n"));
}

TEST(SubscriptionLine, UnsubscribingChangesNothingWhereTheNameIsMissing) {
    EXPECT_TRUE(subscription_of("lcd", "wlan\n").empty());
    EXPECT_TRUE(subscription_of("LCD", "lcd\n").empty());
    EXPECT_TRUE(subscription_of("lcd", "").empty());
    EXPECT_TRUE(subscription_of("", "wlan\n").empty());
    EXPECT_FALSE(subscription_of("wlan", "wlan\n").empty());
}
