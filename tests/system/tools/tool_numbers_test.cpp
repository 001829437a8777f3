/*
 * Numbers on the command lines of the tools: the complaint about a wrong one names the range in a short line.
 */
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "system/tools/tool_checks.h"

namespace {

/* A command line up to a number, and the range that the complaint names. */
struct NumberCase {
    const char *name;
    std::vector<std::string> words;
    const char *range;
};

void PrintTo(const NumberCase &shown, std::ostream *out) {
    *out << shown.name;
}

const NumberCase kCases[] = {
    {"CallTimeout", {"apptest", "call", "wlan", "6", "--timeout"}, "number from 0 to 3600"},
    {"CallRoom", {"apptest", "call", "wlan", "6", "--room"}, "whole number from 0 to 67108864"},
    {"LoadCount", {"apptest", "load", "wlan", "6", "--count"}, "whole number of 1 or more"},
    {"LoadSeconds", {"apptest", "load", "wlan", "6", "--seconds"}, "number from 0.001 to 604800"},
    {"LoadClients", {"apptest", "load", "wlan", "6", "--clients"}, "whole number from 1 to 1000"},
    {"LoadRate", {"apptest", "load", "wlan", "6", "--rate"}, "number from 0.01 to 1000000"},
    {"ListTimeout", {"monitor_tool", "list", "--timeout"}, "number from 0.01 to 60"},
    {"TopInterval", {"monitor_tool", "top", "--interval"}, "number from 0.01 to 3600"},
    {"RebootReason", {"monitor_tool", "reboot", "--reason"}, "whole number from 0 to 4294967295"},
    {"ShowLines", {"logtool", "show", "--lines"}, "whole number of 1 or more"},
    {"GetItem", {"zndb_tool", "get", "k", "--item"}, "whole number of 1 or more"},
};

class ToolNumbers : public testing::TestWithParam<NumberCase> {};

TEST_P(ToolNumbers, AWrongOneIsAnsweredWithTheRange) {
    const std::string tool = GetParam().words[0];
    const std::string option = GetParam().words.back();
    for (const char *wrong : {"x", "", "1x", "-1", "nan", "99999999999999999999999"}) {
        std::vector<std::string> words = GetParam().words;
        words.back() += std::string("=") + wrong; /* so that -1 is no option */
        if (*wrong == '\0') {
            words.back() = option;
            words.emplace_back("");
        }
        const ToolEnd end = run_tool(words);
        EXPECT_EQ(2, end.status);
        EXPECT_EQ(0u, end.errors.find(tool + ": " + option + ": '" + wrong + "' is not a " +
                                      GetParam().range + "\n"))
            << end.errors;
    }
}

INSTANTIATE_TEST_SUITE_P(, ToolNumbers, testing::ValuesIn(kCases),
                         [](const auto &param) { return std::string(param.param.name); });

}  // namespace
