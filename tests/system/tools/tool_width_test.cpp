/*
 * Terminals of 40, 80 and 200 columns: no line of help, tables, lists or screens is longer.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "frwk_module.h"
#include "support/module_process.h"
#include "system/tools/tool_run.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kEvents[] = "/m_data/usr/subscribe";

/* The lines of a screen without what moves the cursor or colours. */
std::vector<std::string> lines_on_screen(const std::string &output) {
    static const std::regex sequences("\033\\[[0-9;?]*[A-Za-z]");
    static const std::regex home("\033\\[H");
    std::istringstream text(std::regex_replace(std::regex_replace(output, home, "\n"), sequences, ""));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        lines.push_back(line.substr(line.rfind('\r') + 1));
    }
    return lines;
}

class ToolWidth : public ZndbTest, public testing::WithParamInterface<int> {
  protected:
    ToolWidth() {
        start();
        std::filesystem::create_directories(kEvents);
        for (const char *event : {"weather", "E_APPS_MSG_ROUTER_NOTIFY_MWWAN_CONNECTION_STATUS_CHANGED"}) {
            EXPECT_TRUE(write_text(std::string(kEvents) + "/" + event, "wlan\nrouter\nqmi_shutdown_modem\n"));
        }
        std::filesystem::create_directories("/m_webui/subscribe");
        EXPECT_TRUE(write_text("/m_webui/subscribe/weather", "wlan\n"));
    }
    ~ToolWidth() override {
        std::filesystem::remove_all(kEvents);
        std::filesystem::remove_all("/m_webui/subscribe");
    }

    std::string shown(const std::vector<std::string> &words, const std::string &typed = "",
                      const std::string &type_after = "") const {
        TerminalOptions options;
        options.columns = static_cast<unsigned short>(GetParam());
        options.typed = typed;
        options.type_after = type_after;
        return run_on_terminal(words, options).output;
    }

    void expect_to_fit(const std::vector<std::string> &words, const std::string &output) const {
        const std::vector<std::string> lines = lines_on_screen(output);
        EXPECT_FALSE(lines.empty()) << testing::PrintToString(words);
        for (const std::string &line : lines) {
            EXPECT_LE(line.size(), static_cast<size_t>(GetParam())) << testing::PrintToString(words) << line;
        }
    }

    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
};

TEST_P(ToolWidth, HoldsHelp) {
    for (const char *tool : {"apptest", "logtool", "monitor_tool", "zndb_tool"}) {
        expect_to_fit({tool, "--help"}, shown({tool, "--help"}));
        std::istringstream commands(run_tool({tool, "--complete", ""}).output);
        for (std::string command; std::getline(commands, command);) {
            expect_to_fit({tool, command}, shown({tool, command, "--help"}));
        }
    }
}

TEST_P(ToolWidth, HoldsTheHelpOfProgramsWithoutCommands) {
    for (const char *program : {"device-tree", "quorbase-check"}) {
        expect_to_fit({program, "--help"}, shown({program, "--help"}));
    }
}

TEST_P(ToolWidth, HoldsTheTableOfQuorbaseCheck) {
    const std::vector<std::string> words = {"quorbase-check", "--modem", IDLE_MODEM};
    const std::string table = shown(words);
    EXPECT_NE(std::string::npos, table.find(" wrong: ")) << table;
    expect_to_fit(words, table);
}

TEST_P(ToolWidth, HoldsTablesAndLists) {
    const std::vector<std::vector<std::string>> all = {
        {"monitor_tool", "list"},
        {"monitor_tool", "status", "wlan"},
        {"monitor_tool", "memory"},
        {"monitor_tool", "probe", "wlan"},
        {"monitor_tool", "events"},
        {"logtool", "channels"},
        {"logtool", "trace"},
        {"logtool", "debug"},
        {"zndb_tool", "dump"},
        {"apptest", "messages"},
        {"apptest", "publish", "--message", "9", "weather"},
        {"apptest", "call", "wlan", "40003", "--room", "40"},
        {"apptest", "load", "wlan", "40000", "--count", "20"},
    };
    for (const std::vector<std::string> &words : all) {
        expect_to_fit(words, shown(words));
    }
}

TEST_P(ToolWidth, HoldsTheScreenOfTop) {
    const std::vector<std::string> words = {"monitor_tool", "top", "--interval", "60"};
    const std::string output = shown(words, "q", "q quits");
    expect_to_fit(words, output);
    EXPECT_NE(
        std::string::npos,
        output.find(GetParam() == 40   ? "q quits, h helps, s sorts, / filters\033"
                    : GetParam() == 80 ? "q quits, h helps, s sorts, r reverses, / filters, arrows scroll\033"
                                       : "r reverses, / filters, arrows scroll\033"))
        << output;
}

TEST_P(ToolWidth, CutsNoWordOfTheSummaryOfTop) {
    const std::string output = shown({"monitor_tool", "top", "--interval", "60"}, "q", "q quits");
    const std::string running = "\033[H2 of 46 modules running";
    EXPECT_NE(std::string::npos,
              output.find(GetParam() == 40 ? running + ", 1-21 of 46\033"
                                           : running + ", sorted by memory, 1-21 of 46\033"))
        << output;
}

TEST_P(ToolWidth, HoldsTheKeysOfTop) {
    const std::vector<std::string> words = {"monitor_tool", "top", "--interval", "60"};
    expect_to_fit(words, shown(words, "h.q", "q quits"));
}

TEST_P(ToolWidth, HoldsTheScreenOfTopWithTrouble) {
    EXPECT_TRUE(write_text("/etc/quor_apps_startup", "lcd qmi_shutdown_modem\n"));
    wlan_.process().stop();
    const std::vector<std::string> words = {"monitor_tool", "top", "--interval", "60", "--timeout", "0.05"};
    expect_to_fit(words, shown(words, "/wlan\nq", "q quits"));
    expect_to_fit({"monitor_tool", "list"}, shown({"monitor_tool", "list", "--timeout", "0.05"}));
    std::filesystem::remove("/etc/quor_apps_startup");
}

TEST_P(ToolWidth, HoldsRequestsToTheMonitor) {
    const ModuleProcess monitor(E_APPS_MODULE_MONITOR);
    const std::vector<std::string> words = {"monitor_tool", "reset", "--yes"};
    expect_to_fit(words, shown(words));
}

INSTANTIATE_TEST_SUITE_P(, ToolWidth, testing::Values(40, 80, 200),
                         [](const auto &param) { return "Columns" + std::to_string(param.param); });

}  // namespace
