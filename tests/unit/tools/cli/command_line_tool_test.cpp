#include "cli/command_line_tool.h"

#include <gtest/gtest.h>

namespace {

constexpr ToolWords kWords = {"tool", "A tool.", "tool act\n"};

ExitCode act() {
    return ExitCode::kDone;
}

/* The parser throws of names that are taken; so does whatever is short of memory. */
void declare_twice(CommandLineTool &tool) {
    for (int i = 0; i < 2; ++i) {
        tool.add("act", "Act", "tool act\n", act);
    }
}

TEST(CommandLineTool, WhatIsThrownEndsInAComplaint) {
    std::string word = "tool";
    char *words[] = {word.data(), nullptr};
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, run_tool(kWords, declare_twice, 1, words));
    EXPECT_EQ(0u, testing::internal::GetCapturedStderr().find("tool: "));
}

}  // namespace
