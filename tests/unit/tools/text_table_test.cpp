#include "text_table.h"

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

TEST(TextTable, LeavesFourCharactersOfAColumnHoweverNarrowTheTerminal) {
    EXPECT_EQ(
        "ID  NAME  STA~\n"
        "1   mon~  run~\n"
        "38  qmi~\n",
        modules().text(5));
}

}  // namespace
