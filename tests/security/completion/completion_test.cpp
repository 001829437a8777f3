/*
 * Keys whose names contain commands, completed in a shell: the commands are not run.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "system/tools/tool_run.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kHit[] = "/tmp/hit";
constexpr char kStart[] = "/tmp/start_bash";

class Completion : public ZndbTest {
  protected:
    Completion() {
        std::filesystem::remove(kHit);
        EXPECT_TRUE(write_text(kStart, "PATH=" TOOLS_FOLDER ":$PATH\n"
                                       ". " TOOLS_SOURCE "/completion/tool_completion.bash\n"
                                       "bind 'set enable-bracketed-paste off'\n"
                                       "bind 'set bell-style none'\n"
                                       "PS1='ready> '\n"));
        start();
    }

    /* What an interactive bash shows when this is typed into it, and Ctrl-D until it ends, within quotes too.
     */
    static std::string shown_by_bash(const std::string &typed) {
        TerminalOptions options;
        options.columns = 200;
        options.type_after = "ready> ";
        options.typed = typed + "\n\004\004\004";
        return run_on_terminal({"/usr/bin/bash", "--noprofile", "--rcfile", kStart, "-i"}, options).output;
    }
};

class CompletedKey : public Completion, public testing::WithParamInterface<const char *> {};

TEST_P(CompletedKey, IsCarriedOutByNobody) {
    ASSERT_EQ(0, zndb_set(GetParam(), "its value"));
    const std::string shown = shown_by_bash("zndb_tool get ss\t");
    EXPECT_FALSE(std::filesystem::exists(kHit)) << shown;
    EXPECT_NE(std::string::npos, shown.find("its value")) << shown;
}

INSTANTIATE_TEST_SUITE_P(, CompletedKey,
                         testing::Values("ssid", "ss$(touch /tmp/hit)", "ss`touch /tmp/hit`",
                                         "ss;touch /tmp/hit", "ss|touch /tmp/hit", "ss>/tmp/hit",
                                         "ss'$(touch /tmp/hit)'", "ss\"$(touch /tmp/hit)\"",
                                         "ss &touch /tmp/hit", "ss\\$(touch /tmp/hit)", "ss*{a,b}~!!"),
                         [](const auto &param) { return "Key" + std::to_string(param.index); });

/* What is within quotes already is not completed, or is quoted all the same. */
TEST_F(Completion, WithinQuotesCarriesNothingOut) {
    ASSERT_EQ(0, zndb_set("ss$(touch /tmp/hit)", "its value"));
    for (const char *typed :
         {"zndb_tool get \"ss\t\"", "zndb_tool get 'ss\t'", "zndb_tool get \"ss\t", "zndb_tool get ss\\\t"}) {
        const std::string shown = shown_by_bash(typed);
        EXPECT_FALSE(std::filesystem::exists(kHit)) << typed << ": " << shown;
    }
}

TEST_F(Completion, OffersNothingThatATerminalCannotShow) {
    for (const char *key : {"ss\033[2J",
                            "ss\xc2\x9b"
                            "2J",
                            "ss\xe2\x80\xae", "ss\x9b"}) {
        ASSERT_EQ(0, zndb_set(key, "v"));
    }
    ASSERT_EQ(0, zndb_set("ssid", "its value"));
    EXPECT_EQ("ssid\n", run_tool({"zndb_tool", "--complete", "get", "ss"}).output);
}

}  // namespace
