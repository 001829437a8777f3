/*
 * zndb_tool at a terminal: what it shows there, and what is typed.
 */
#include <gtest/gtest.h>

#include <string>

#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const ToolChecks kTool("zndb_tool");

class ZndbToolAtATerminal : public ZndbTest {
  protected:
    ZndbToolAtATerminal() { start(); }
};

TEST_F(ZndbToolAtATerminal, ControlCharactersAreSpeltOut) {
    EXPECT_EQ(0, zndb_set("k", "\033[2Jgone\177"));
    EXPECT_EQ("\033[2Jgone\177\n", kTool.output_of({"get", "k"}));
    EXPECT_EQ("\\x1b[2Jgone\\x7f\r\n", run_on_terminal({"zndb_tool", "get", "k"}, {}).output);
}

TEST_F(ZndbToolAtATerminal, ColoursAreForTerminalsOnly) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_NE(std::string::npos, run_on_terminal({"zndb_tool", "dump"}, {}).output.find("\033[1mk\033[0m=v"));
    EXPECT_EQ(std::string::npos, kTool.output_of({"dump"}).find('\033'));
}

TEST_F(ZndbToolAtATerminal, HelpFitsATerminalOf40Columns) {
    TerminalOptions narrow;
    narrow.columns = 40;
    for (const char *command : {"set", "get", "import"}) {
        std::string help = run_on_terminal({"zndb_tool", command, "--help"}, narrow).output;
        help.resize(help.find("Examples:"));
        size_t begin = 0;
        for (size_t end = 0; (end = help.find("\r\n", begin)) != std::string::npos; begin = end + 2) {
            EXPECT_LE(end - begin, 40u) << help.substr(begin, end - begin);
        }
    }
}

TEST_F(ZndbToolAtATerminal, ASecretThatIsTypedIsNotShown) {
    TerminalOptions typing;
    typing.type_after = "value of wifi_key: ";
    typing.typed = "correct horse\n";
    const ToolEnd end = run_on_terminal({"zndb_tool", "set", "--secret", "wifi_key"}, typing);
    EXPECT_EQ(0, end.status) << end.output;
    EXPECT_EQ(std::string::npos, end.output.find("horse"));
    EXPECT_EQ("correct horse\n", kTool.output_of({"get", "--secret", "wifi_key"}));
}

TEST_F(ZndbToolAtATerminal, CtrlCWhileTypingChangesNothing) {
    TerminalOptions typing;
    typing.type_after = "value of wifi_key: ";
    typing.typed = "correct\003";
    const ToolEnd end = run_on_terminal({"zndb_tool", "set", "--secret", "wifi_key"}, typing);
    EXPECT_EQ(130, end.status) << end.output;
    EXPECT_EQ("ret 3", plain("wifi_key"));
}

TEST_F(ZndbToolAtATerminal, WhoWantsNoColoursGetsNone) {
    const auto dump_with = [](const std::string &entry) {
        TerminalOptions options;
        options.environment = {entry};
        return run_on_terminal({"zndb_tool", "dump", "--perm"}, options).output;
    };
    const std::string plain_line = "# perm: /m_data/usr_permanent/db/perm_data.txt\r\n";
    EXPECT_EQ(plain_line, dump_with("NO_COLOR=1"));
    EXPECT_EQ(plain_line, dump_with("TERM=dumb"));
    EXPECT_NE(plain_line, dump_with("NO_COLOR="));
}

}  // namespace
