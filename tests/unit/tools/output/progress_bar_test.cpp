#include "output/progress_bar.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressBar, FillsWithWhatIsDone) {
    EXPECT_EQ("[          ]   0% x", progress_line(0, "x", 19));
    EXPECT_EQ("[#####     ]  50% x", progress_line(0.5, "x", 19));
    EXPECT_EQ("[##########] 100% x", progress_line(1, "x", 19));
}

TEST(ProgressBar, StaysWithinItsBounds) {
    EXPECT_EQ("[          ]   0% x", progress_line(-1, "x", 19));
    EXPECT_EQ("[##########] 100% x", progress_line(2, "x", 19));
    EXPECT_EQ(size_t{40 + 9}, progress_line(0.5, "x", 200).size());
}

TEST(ProgressBar, IsOnlyTextWhereThereIsNoRoom) {
    EXPECT_EQ(" 50% note", progress_line(0.5, "note", 12));
    EXPECT_EQ(" 50% n", progress_line(0.5, "note", 6));
}

}  // namespace
