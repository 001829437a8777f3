/*
 * Each tool, and the database's service, prints its version, and help, and does nothing else.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "apps_message.h"
#include "system/tools/tool_run.h"
#include "system/zndb/zndb_process.h"

namespace {

class ProgramVersion : public testing::TestWithParam<const char *> {};

TEST_P(ProgramVersion, IsPrintedWithTheName) {
    const ToolEnd end = run_tool({GetParam(), "--version"});
    EXPECT_EQ(0, end.status);
    EXPECT_EQ(std::string(GetParam()) + " " PRODUCT_VERSION "\n", end.output);
    EXPECT_EQ("", end.errors);
}

TEST_P(ProgramVersion, IsNamedInTheHelp) {
    for (const char *option : {"--help", "-h"}) {
        const ToolEnd end = run_tool({GetParam(), option});
        EXPECT_EQ(0, end.status);
        EXPECT_NE(std::string::npos, end.output.find("\n  --version ")) << end.output;
        EXPECT_EQ("", end.errors);
    }
}

TEST_P(ProgramVersion, ThatCannotBeWrittenIsAFailure) {
    const ToolEnd full = run_shell(std::string("$TOOLS/") + GetParam() + " --version > /dev/full");
    EXPECT_EQ(1, full.status);
}

INSTANTIATE_TEST_SUITE_P(, ProgramVersion,
                         testing::Values("apptest", "logtool", "monitor_tool", "zndb", "zndb_tool"),
                         [](const auto &param) { return std::string(param.param); });

TEST(ZndbProgram, StartsNoServiceForHelpOrVersion) {
    std::filesystem::remove("/tmp/m_tmp/ipc/zndb");
    for (const char *option : {"--help", "-h", "--version"}) {
        EXPECT_EQ(0, run_tool({"zndb", option}).status);
        EXPECT_FALSE(std::filesystem::exists("/tmp/m_tmp/ipc/zndb")) << option;
    }
}

using ZndbWithArguments = ZndbTest;

TEST_F(ZndbWithArguments, StartsAsWithout) {
    zndb_ = std::make_unique<ChildProcess>(std::vector<std::string>{ZNDB_PROGRAM, "word"});
    EXPECT_TRUE(wait_until([] { return ask_zndb(E_APPS_MSG_SYS_PROBE, "") == 0; }));
}

}  // namespace
