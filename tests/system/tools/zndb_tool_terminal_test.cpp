/*
 * zndb_tool on a terminal: its output, and typed input.
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

/* CSI as one byte and as one character, a mark that turns the direction, and a character without a width. */
constexpr char kTricks[] =
    "\x9b"
    "2J\xc2\x9b"
    "2J\xe2\x80\xaetxt\xe2\x80\x8b";
constexpr char kSpeltOut[] = "\\x9b2J\\xc2\\x9b2J\\xe2\\x80\\xaetxt\\xe2\\x80\\x8b";

TEST_F(ZndbToolAtATerminal, WhatTurnsOrHidesTextIsSpeltOut) {
    EXPECT_EQ(0, zndb_set("k", kTricks));
    EXPECT_EQ(std::string(kTricks) + "\n", kTool.output_of({"get", "k"}));
    EXPECT_EQ(std::string(kSpeltOut) + "\r\n", run_on_terminal({"zndb_tool", "get", "k"}, {}).output);
    EXPECT_NE(std::string::npos,
              run_on_terminal({"zndb_tool", "dump"}, {}).output.find(std::string("=") + kSpeltOut));
}

TEST_F(ZndbToolAtATerminal, KeysAreSpeltOutLikeValues) {
    const std::string key = "k\xe2\x80\xae";
    const std::string shown = "k\\xe2\\x80\\xae";
    EXPECT_EQ(0, zndb_set(key.c_str(), "v"));
    EXPECT_EQ(shown + "=v\r\n" + shown + "=v\r\n",
              run_on_terminal({"zndb_tool", "get", key, key}, {}).output);
    EXPECT_NE(std::string::npos,
              run_on_terminal({"zndb_tool", "get", key + "x"}, {}).output.find("'" + shown + "x'"));
    TerminalOptions typing;
    typing.type_after = "value of " + shown + ": ";
    typing.typed = "new\n";
    EXPECT_EQ(0, run_on_terminal({"zndb_tool", "set", key}, typing).status);
    EXPECT_EQ("new", plain(key));
}

TEST_F(ZndbToolAtATerminal, AnExportIsSpeltOutLineByLine) {
    EXPECT_EQ(0, zndb_set("a", kTricks));
    EXPECT_EQ(0, zndb_set("b", "2"));
    EXPECT_EQ("a=" + std::string(kTricks) + "\nb=2\n", kTool.output_of({"export", "-"}));
    EXPECT_EQ("a=" + std::string(kSpeltOut) + "\r\nb=2\r\n",
              run_on_terminal({"zndb_tool", "export", "-"}, {}).output);
}

TEST_F(ZndbToolAtATerminal, JsonIsSpeltOutAsJson) {
    EXPECT_EQ(0, zndb_set("k", "\177\xc2\x9b\xe2\x80\xae"));
    EXPECT_EQ("{\n  \"k\": \"\177\xc2\x9b\xe2\x80\xae\"\n}\n", kTool.output_of({"get", "--json", "k"}));
    EXPECT_EQ("{\r\n  \"k\": \"\\u007f\\u009b\\u202e\"\r\n}\r\n",
              run_on_terminal({"zndb_tool", "get", "--json", "k"}, {}).output);
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

TEST_F(ZndbToolAtATerminal, AResetIsConfirmedFirst) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    TerminalOptions typing;
    typing.type_after = "delete every setting of the plain store? [y/N] ";
    typing.typed = "n\n";
    const ToolEnd no = run_on_terminal({"zndb_tool", "reset"}, typing);
    EXPECT_EQ(1, no.status);
    EXPECT_NE(std::string::npos, no.output.find("nothing was done")) << no.output;
    typing.typed = "\003";
    EXPECT_EQ(130, run_on_terminal({"zndb_tool", "reset"}, typing).status);
    EXPECT_EQ("v", plain("k"));
    typing.typed = "y\n";
    EXPECT_EQ(0, run_on_terminal({"zndb_tool", "reset"}, typing).status);
    EXPECT_EQ("ret 3", plain("k"));
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ("", run_on_terminal({"zndb_tool", "reset", "--yes"}, {}).output);
    EXPECT_EQ("ret 3", plain("k"));
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
