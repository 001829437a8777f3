#include "device/event_listeners.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

TEST(EventListeners, TakesNamesLineByLine) {
    EXPECT_EQ(Names({"wlan", "lcd"}), subscriber_names("wlan\nlcd\n"));
    EXPECT_EQ(Names({"wlan", "lcd"}), subscriber_names("wlan\nlcd"));
    EXPECT_EQ(Names(), subscriber_names(""));
}

TEST(EventListeners, StripsLineTailsAndSkipsEmptyLines) {
    EXPECT_EQ(Names({"wlan", " lcd"}), subscriber_names("wlan \t\r\n\n\r\n lcd\n"));
}

TEST(EventListeners, TakesLongLinesInPiecesAsPublishersDo) {
    EXPECT_EQ(Names({std::string(62, 'x'), "wlan"}), subscriber_names(std::string(62, 'x') + "wlan\n"));
}

}  // namespace
