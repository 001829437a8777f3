#include "output/text_table.h"

#include <gtest/gtest.h>

namespace {

TextTable modules() {
    TextTable table({"ID", "NAME", "STATE"});
    table.add({"1", "monitor", "running"});
    table.add({"38", "qmi_shutdown_modem", ""});
    return table;
}

TEST(TextTable, AlignsColumnsAndLeavesNoBlanksAtLineEnds) {
    EXPECT_EQ(
        "ID  NAME                STATE\n"
        "1   monitor             running\n"
        "38  qmi_shutdown_modem\n",
        modules().text(0));
}

TEST(TextTable, CutsTheWidestColumnWhenARowDoesNotFit) {
    EXPECT_EQ(
        "ID  NAME        STATE\n"
        "1   monitor     running\n"
        "38  qmi_shutd~\n",
        modules().text(23));
}

TEST(TextTable, CutsNoCharacterInTheMiddle) {
    TextTable table({"NAME"});
    table.add({"\xe4\xb8\xad\xe6\x96\x87"});
    EXPECT_EQ("NAME\n\xe4\xb8\xad~\n", table.text(5));
    EXPECT_EQ("NAME\n\xe4\xb8\xad~\n", table.text(4));
}

TEST(TextTable, LeavesFourCharactersOfAColumnHoweverNarrowTheTerminal) {
    EXPECT_EQ(
        "ID  NAME  STA~\n"
        "1   mon~  run~\n"
        "38  qmi~\n",
        modules().text(5));
}

TEST(TextTable, LeavesSpareColumnsOutBeforeItCuts) {
    TextTable table({"ID", "NAME", "ALIAS", "STATE"}, {2, 0});
    table.add({"5", "wlan", "WLAN", "running"});
    EXPECT_EQ("ID  NAME  ALIAS  STATE\n5   wlan  WLAN   running\n", table.text(0));
    EXPECT_EQ("ID  NAME  ALIAS  STATE\n5   wlan  WLAN   running\n", table.text(24));
    EXPECT_EQ("ID  NAME  STATE\n5   wlan  running\n", table.text(23));
    EXPECT_EQ("NAME  STATE\nwlan  running\n", table.text(16));
    EXPECT_EQ("NAME  STA~\nwlan  run~\n", table.text(5));
}

}  // namespace
