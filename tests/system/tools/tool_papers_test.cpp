/*
 * The man page of each tool covers everything in its help, and bash completes its words.
 */
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "formats/module_facility.h"
#include "formats/module_flags.h"
#include "support/wait_until.h"
#include "system/tools/tool_run.h"

namespace {

class ToolPapers : public testing::TestWithParam<const char *> {
  protected:
    std::string page() const { return std::string(TOOLS_SOURCE "/man/") + GetParam() + ".1"; }

    std::vector<std::string> completions(const std::string &words) const {
        const ToolEnd end = run_shell(std::string("$TOOLS/") + GetParam() + " --complete " + words);
        EXPECT_EQ(0, end.status) << end.errors;
        std::istringstream lines(end.output);
        std::vector<std::string> all;
        for (std::string line; std::getline(lines, line);) {
            all.push_back(line);
        }
        return all;
    }
};

/* An option whose help ends "(2)", and the 2. */
struct Default {
    std::string option;
    std::string value;
};

std::vector<Default> defaults_in(const std::string &help) {
    static const std::regex kValue("\\(([0-9.]+)\\)\n");
    std::vector<Default> all;
    for (std::sregex_iterator at(help.begin(), help.end(), kValue), end; at != end; ++at) {
        const size_t option = help.rfind("--", static_cast<size_t>(at->position()));
        all.push_back({help.substr(option, help.find(' ', option) - option), at->str(1)});
    }
    return all;
}

std::string escaped(std::string name) {
    for (size_t at = 0; (at = name.find('-', at)) != std::string::npos; at += 2) {
        name.insert(at, "\\");
    }
    return name;
}

TEST_P(ToolPapers, TheManPageIsWellFormed) {
    const ToolEnd end = run_shell("groff -man -Tascii -ww -z " + page() + " 2>&1");
    EXPECT_EQ(0, end.status);
    EXPECT_EQ("", end.output);
}

TEST_P(ToolPapers, TheManPageHasEveryCommandAndEveryOption) {
    const std::string text = file_text(page());
    const std::vector<std::string> commands = completions("''");
    EXPECT_FALSE(commands.empty());
    for (const std::string &command : commands) {
        EXPECT_NE(std::string::npos, text.find("\n\\fB" + escaped(command) + "\\fP")) << command;
        for (const std::string &option : completions(command + " --")) {
            EXPECT_NE(std::string::npos, text.find(escaped(option))) << command << " " << option;
        }
    }
}

/* The paragraph of an option that has a value. */
std::string paragraph_of(const std::string &page, const std::string &option) {
    const size_t begin = page.find(escaped(option) + " \"");
    return begin == std::string::npos ? "" : page.substr(begin, page.find("\n.TP", begin) - begin);
}

class ToolDefaults : public ToolPapers {};

TEST_P(ToolDefaults, OfTheHelpAreInTheManPage) {
    const std::string text = file_text(page());
    size_t found = 0;
    for (const std::string &command : completions("''")) {
        const ToolEnd help = run_tool({GetParam(), command, "--help"});
        for (const Default &each : defaults_in(help.output)) {
            const std::string paragraph = paragraph_of(text, each.option);
            EXPECT_TRUE(std::regex_search(paragraph, std::regex("default " + each.value + "[.,]")))
                << paragraph;
            ++found;
        }
    }
    EXPECT_LT(0u, found);
}

INSTANTIATE_TEST_SUITE_P(, ToolDefaults, testing::Values("apptest", "monitor_tool"),
                         [](const auto &param) { return std::string(param.param); });

TEST(ToolPage, OfApptestHasEveryTypeOfAnAnswer) {
    const std::string page = file_text(TOOLS_SOURCE "/man/apptest.1");
    std::istringstream types(run_tool({"apptest", "--complete", "call", "wlan", "6", "--as", ""}).output);
    for (std::string type; types >> type;) {
        const bool listed = page.find(" " + type + " ") != std::string::npos ||
                            page.find(" " + type + "\n") != std::string::npos;
        EXPECT_TRUE(listed) << type;
    }
}

/* Words that a user of other tools expects. */
TEST(ToolHelp, UsesPlainWords) {
    const auto expect_line = [](const char *command, const char *words) {
        const std::string help = run_shell(std::string("$TOOLS/") + command + " --help").output;
        EXPECT_NE(std::string::npos, help.find(words)) << help;
    };
    expect_line("apptest load", "Total request rate, per second (default: unlimited)\n");
    expect_line("monitor_tool list", "Reverse the order\n");
    expect_line("monitor_tool", "Ask the monitor to enable a module\n");
    expect_line("monitor_tool", "Ask the monitor to shut the device down\n");
}

TEST_P(ToolPapers, BashCompletesItsCommands) {
    const std::string name = GetParam();
    const ToolEnd end =
        run_shell(". " TOOLS_SOURCE "/completion/tool_completion.bash; PATH=$TOOLS:$PATH; COMP_WORDS=(" +
                  name + " ''); COMP_CWORD=1; _quor_tool " + name +
                  "; printf '%s\\n' \"${COMPREPLY[@]}\"; complete -p " + name);
    EXPECT_EQ("", end.errors);
    std::string expected;
    for (const std::string &command : completions("''")) {
        expected += command + "\n";
    }
    EXPECT_EQ(expected + "complete -o default -F _quor_tool " + name + "\n", end.output);
}

INSTANTIATE_TEST_SUITE_P(, ToolPapers, testing::Values("apptest", "logtool", "monitor_tool", "zndb_tool"),
                         [](const auto &param) { return std::string(param.param); });

}  // namespace

/* ---- The files of the device ----------------------------------------------------------------------- */

class FilePage : public testing::TestWithParam<const char *> {};

TEST_P(FilePage, IsWellFormed) {
    EXPECT_EQ("",
              run_shell(std::string("groff -man -Tascii -ww -z " TOOLS_SOURCE "/man/") + GetParam() + " 2>&1")
                  .output);
}

INSTANTIATE_TEST_SUITE_P(All, FilePage, testing::Values("quor_apps_cfg.xml.5", "quor_apps_startup.5"));

TEST(ConfigPage, HasEveryFlagAndEveryFacility) {
    const std::string page = file_text(TOOLS_SOURCE "/man/quor_apps_cfg.xml.5");
    for (uint32_t bit = 1; flag_name(bit) != nullptr; bit <<= 1) {
        EXPECT_NE(std::string::npos, page.find(std::string("\n.B FRWK_FLAG_") + flag_name(bit) + "\n"));
    }
    for (uint32_t facility = 1; facility_word(facility) != nullptr; ++facility) {
        EXPECT_NE(std::string::npos, page.find(std::string("\n.BR ") + facility_word(facility) + " "));
    }
}

TEST(ConfigPage, ItsExampleHasNothingWrong) {
    const ToolEnd end =
        run_shell("sed -n '/^<modules>/,/^<.modules>/p' " TOOLS_SOURCE
                  "/man/quor_apps_cfg.xml.5 | sed 's/.-.-/--/g' > /tmp/example.xml && "
                  "grep -q camera /tmp/example.xml && $TOOLS/apptest check-config /tmp/example.xml");
    EXPECT_EQ(0, end.status) << end.errors;
    EXPECT_EQ("", end.output);
}
