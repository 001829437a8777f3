#include "cli/command.h"

#include <gtest/gtest.h>

#include "cli/command_line_tool.h"

namespace {

constexpr ToolWords kWords = {"tool", "A tool.", "tool act\n"};

/* The commands' names in the order of their help. */
void declare_last(CommandLineTool &tool) {
    tool.add("last", "", "", [] { return ExitCode::kDone; });
}

void declare_first(CommandLineTool &tool) {
    tool.add("first", "", "", [] { return ExitCode::kDone; });
}

void declare_middle(CommandLineTool &tool) {
    tool.add("middle", "", "", [] { return ExitCode::kDone; });
}

TEST(Command, GroupsAreDeclaredByPlaceWhateverTheirOrderInTheProgram) {
    static const CommandGroup kLast(3, declare_last);
    static const CommandGroup kFirst(1, declare_first);
    static const CommandGroup kMiddle(2, declare_middle);
    CommandLineTool tool(kWords);
    CommandGroup::declare_all(tool);
    std::string words[] = {"tool", kCompleteOption, ""};
    char *argv[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    testing::internal::CaptureStdout();
    EXPECT_EQ(ExitCode::kDone, tool.run(3, argv));
    EXPECT_EQ("first\nmiddle\nlast\n", testing::internal::GetCapturedStdout());
}

TEST(Command, TheHelpShowsTheDefaultsThatAnOptionsVariableHas) {
    CommandLineTool tool(kWords);
    double seconds = 2.5;
    uint32_t lines = 0;
    std::string text;
    const Command act = tool.add("act", "", "tool act\n", [] { return ExitCode::kDone; });
    act.add("--seconds", seconds, "Seconds to wait").value("S").within_real(0, 9).shows_default();
    act.add("--lines", lines, "Lines").value("N").shows_default();
    act.add("--text", text, "A text").value("TEXT");
    std::string words[] = {"tool", "act", "--help"};
    char *argv[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    testing::internal::CaptureStdout();
    EXPECT_EQ(ExitCode::kDone, tool.run(3, argv));
    const std::string help = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, help.find("Seconds to wait (2.5)\n")) << help;
    EXPECT_NE(std::string::npos, help.find("Lines (0)\n")) << help;
    EXPECT_NE(std::string::npos, help.find("A text\n")) << help;
}

}  // namespace
