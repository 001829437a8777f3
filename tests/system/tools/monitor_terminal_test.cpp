/*
 * monitor_tool at a terminal: tables that fit, questions, and the screen that refreshes.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/wait_until.h"
#include "system/tools/monitor_fixture.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kTool("monitor_tool");

using MonitorAtATerminal = MonitorTool;

/* A terminal whose other end the test holds, and lets go of. */
class Terminal {
  public:
    Terminal() : fd_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_EQ(0, ::grantpt(fd_));
        EXPECT_EQ(0, ::unlockpt(fd_));
    }
    ~Terminal() { hang_up(); }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    std::string path() const {
        char name[64] = "";
        EXPECT_EQ(0, ::ptsname_r(fd_, name, sizeof(name)));
        return name;
    }

    /* Waits until it shows the text. */
    bool wait_for(const std::string &text) {
        char piece[4096];
        for (std::string shown; shown.find(text) == std::string::npos;) {
            const ssize_t count = ::read(fd_, piece, sizeof(piece));
            if (count <= 0) {
                return false;
            }
            shown.append(piece, static_cast<size_t>(count));
        }
        return true;
    }

    void hang_up() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

  private:
    int fd_;
};

/* The terminal's output between the switch to the alternate screen and the switch back. */
std::string screen_of(const std::string &output) {
    const std::string enter = "\033[?1049h\033[?25l";
    const std::string leave = "\033[?25h\033[?1049l";
    EXPECT_EQ(0u, output.find(enter));
    EXPECT_EQ(output.size() - leave.size(), output.rfind(leave));
    return output.substr(enter.size(), output.size() - enter.size() - leave.size());
}

TEST_F(MonitorAtATerminal, TheListFitsATerminalOf40Columns) {
    TerminalOptions narrow;
    narrow.columns = 40;
    const ToolEnd end = run_on_terminal({"monitor_tool", "list"}, narrow);
    EXPECT_EQ(0, end.status);
    EXPECT_NE(std::string::npos, end.output.find("  CPU%  RSS\033[0m\r\n")) << end.output;
    const std::vector<std::string> lines = lines_of(end.output);
    for (size_t i = 1; i < lines.size(); ++i) {
        EXPECT_LE(lines[i].size(), 41u) << lines[i];
    }
}

TEST_F(MonitorAtATerminal, ModulesInTroubleAreRedInTheList) {
    ASSERT_TRUE(write_text("/etc/quor_apps_startup", "lcd\n"));
    forget_module("lcd");
    hang_wlan();
    const ToolEnd end = run_on_terminal({"monitor_tool", "list", "--timeout", "2"}, {});
    const std::vector<std::string> lines = lines_of(end.output);
    EXPECT_EQ(0u, lines.at(1).find("\033[1;31mwlan ")) << end.output;
    EXPECT_EQ(0u, lines.at(2).find("\033[1;31mlcd ")) << end.output;
    EXPECT_EQ(0u, lines.at(3).find("tool ")) << end.output;
}

TEST_F(MonitorAtATerminal, AsksAtATerminal) {
    start_monitor();
    TerminalOptions typing;
    typing.type_after = "shut the device down? [y/N] ";
    typing.typed = "n\n";
    const ToolEnd no = run_on_terminal({"monitor_tool", "shutdown"}, typing);
    EXPECT_EQ(1, no.status);
    EXPECT_NE(std::string::npos, no.output.find("nothing was done")) << no.output;
    typing.typed = "\003";
    EXPECT_EQ(128 + SIGINT, run_on_terminal({"monitor_tool", "shutdown"}, typing).status);
    EXPECT_TRUE(monitor_->messages().empty());
    typing.typed = "Yes\n";
    EXPECT_EQ(0, run_on_terminal({"monitor_tool", "shutdown"}, typing).status);
    EXPECT_TRUE(monitor_->wait_for_message("51 1003 4 00000000"));
    const ToolEnd unasked = run_on_terminal({"monitor_tool", "reboot", "--yes"}, {});
    EXPECT_EQ("the monitor was asked to reboot the device\r\n", unasked.output);
}

TEST_F(MonitorAtATerminal, TopDrawsUntilQAndLeavesTheTerminalAsItWas) {
    TerminalOptions typing;
    typing.type_after = "q quits";
    typing.typed = "srq";
    const ToolEnd end = run_on_terminal({"monitor_tool", "top", "--interval", "60", "--running"}, typing);
    EXPECT_EQ(0, end.status);
    const std::string screen = screen_of(end.output);
    EXPECT_NE(std::string::npos, screen.find("\033[H1 of 46 modules running, sorted by memory\033[K\r\n"))
        << screen;
    EXPECT_NE(std::string::npos, screen.find("\r\nwlan     running ")) << screen;
    EXPECT_NE(std::string::npos, screen.find(" " + std::to_string(wlan_.pid()) + " ")) << screen;
    EXPECT_NE(std::string::npos, screen.find("\033[H1 of 46 modules running, sorted by time\033[K\r\n"))
        << screen;
}

TEST_F(MonitorAtATerminal, TopLooksAgainAndEndsWithCtrlC) {
    hang_wlan();
    TerminalOptions typing;
    typing.columns = 40;
    typing.type_after = "\033[H0 of 46 modules running, ";
    typing.typed = "\003";
    const ToolEnd end = run_on_terminal(
        {"monitor_tool", "top", "--interval", "0.01", "--running", "--sort", "time", "--timeout", "0.05"},
        typing);
    EXPECT_EQ(0, end.status);
    for (std::string line : lines_of(screen_of(end.output))) {
        line.erase(line.find("\033[K"));
        EXPECT_LE(line.size(), 40u + sizeof("\033[H") + sizeof("\033[1;31m\033[0m")) << line;
    }
}

/* The screen of top that shows a text after some keys, without what moves the cursor. */
std::string top_after(const std::string &keys, const std::string &shown, unsigned short columns = 80) {
    TerminalOptions typing;
    typing.columns = columns;
    typing.type_after = "q quits";
    typing.typed = keys + "q";
    const ToolEnd end = run_on_terminal(
        {"monitor_tool", "top", "--interval", "60", "--timeout", "60", "--sort", "id"}, typing);
    EXPECT_EQ(0, end.status);
    const std::string output = screen_of(end.output);
    EXPECT_NE(std::string::npos, output.find(shown)) << output;
    const size_t begin = output.rfind("\033[H", output.find(shown));
    return output.substr(begin, output.find("\033[H", begin + 1) - begin);
}

TEST_F(MonitorAtATerminal, TopScrolls) {
    EXPECT_NE(std::string::npos, top_after("\033[6~", ", 22-42 of 46").find("\r\natfwd_daemon "));
    (void)top_after("\033[B\033[B\033[A", ", 2-22 of 46");
    (void)top_after("G", ", 26-46 of 46");
    EXPECT_NE(std::string::npos, top_after("\033[F\033[H", ", 1-21 of 46").find("\r\ntool "));
}

TEST_F(MonitorAtATerminal, TopFilters) {
    const std::string typed = top_after("/wl\033", "filter: wl_");
    EXPECT_NE(std::string::npos, typed.find("\r\nwlan ")) << typed;
    EXPECT_EQ(std::string::npos, typed.find("\r\nzndb ")) << typed;
    const std::string kept = top_after("/wlx\177\r", ", with 'wl'\033[K\r\n");
    EXPECT_NE(std::string::npos, kept.find("\r\nwlan ")) << kept;
}

/* The beginning of an arrow key is the same byte. */
TEST_F(MonitorAtATerminal, TopTakesEscapeAloneAfterAMoment) {
    TerminalOptions typing;
    typing.type_after = "q quits";
    typing.typed = "\033";
    typing.then_type_after = "q quits";
    typing.then_typed = "q";
    EXPECT_EQ(0, run_on_terminal({"monitor_tool", "top", "--interval", "60"}, typing).status);
}

TEST_F(MonitorAtATerminal, TopExplainsItsKeys) {
    const std::string help = top_after("h.", "Keys of monitor_tool top", 40);
    for (const char *line : {"\r\n  q, Ctrl-C      quit", "\r\n  PgUp, PgDn     scroll by a page"}) {
        EXPECT_NE(std::string::npos, help.find(line)) << help;
    }
}

TEST_F(MonitorAtATerminal, TopSortsByItsKeys) {
    (void)top_after("c", "sorted by cpu");
    (void)top_after("u", "sorted by uptime");
    EXPECT_EQ(0u, lines_of(top_after("n", "sorted by name,")).at(2).find("apptest "));
    EXPECT_EQ(0u, lines_of(top_after("nr", "sorted by name reversed")).at(2).find("zndb_tool "));
}

TEST_F(MonitorAtATerminal, TopHasTroubleFirstAndRed) {
    ASSERT_TRUE(write_text("/etc/quor_apps_startup", "lcd\n"));
    forget_module("lcd");
    hang_wlan();
    TerminalOptions typing;
    typing.type_after = "q quits";
    typing.typed = "q";
    const ToolEnd end = run_on_terminal(
        {"monitor_tool", "top", "--interval", "60", "--sort", "name", "--timeout", "2"}, typing);
    const std::vector<std::string> lines = lines_of(screen_of(end.output));
    EXPECT_EQ("\033[H0 of 46 modules running, 2 in trouble, sorted by name, 1-21 of 46\033[K\r", lines.at(0));
    EXPECT_EQ(0u, lines.at(2).find("\033[1;31mwlan ")) << lines.at(2);
    EXPECT_EQ(0u, lines.at(3).find("\033[1;31mlcd ")) << lines.at(3);
    EXPECT_EQ(0u, lines.at(4).find("apptest ")) << lines.at(4);
}

TEST_F(MonitorAtATerminal, TopCountsRestarts) {
    std::unique_ptr<ModuleProcess> router = std::make_unique<ModuleProcess>(E_APPS_MODULE_ROUTER);
    const std::string before = " " + std::to_string(router->pid()) + " ";
    TerminalOptions typing;
    typing.columns = 60;
    typing.type_after = before;
    typing.before_typing = [&] {
        router.reset();
        router = std::make_unique<ModuleProcess>(E_APPS_MODULE_ROUTER);
    };
    typing.typed = "x";
    typing.then_type_after = "  1 ";
    typing.then_typed = "q";
    const ToolEnd end = run_on_terminal(
        {"monitor_tool", "top", "--interval", "0.05", "--running", "--sort", "restarts"}, typing);
    EXPECT_EQ(0, end.status);
    EXPECT_NE(std::string::npos, end.output.find(" " + std::to_string(router->pid()) + " ")) << end.output;
}

TEST_F(MonitorAtATerminal, TopPrintsOnceWhereNothingCanBeDrawn) {
    const std::string output = kTool.output_of({"top", "--running"});
    EXPECT_EQ(2u, lines_of(output).size());
    EXPECT_NE("no row", row_of(output, "wlan"));
    EXPECT_EQ(std::string::npos, output.find('\033'));
    EXPECT_EQ(lines_of(kTool.output_of({"list"})).size(),
              lines_of(kTool.output_of({"top", "--sort", "id"})).size());
    TerminalOptions dumb;
    dumb.environment = {"TERM=dumb"};
    EXPECT_EQ(std::string::npos, run_on_terminal({"monitor_tool", "top"}, dumb).output.find('\033'));
}

TEST_F(MonitorAtATerminal, TopEndsWithCtrlCBetweenTwoLooks) {
    TerminalOptions typing;
    typing.type_after = "q quits";
    typing.typed = "\003";
    const ToolEnd end = run_on_terminal({"monitor_tool", "top", "--interval", "60"}, typing);
    EXPECT_EQ(0, end.status);
    EXPECT_NE(std::string::npos, screen_of(end.output).find(" modules running, sorted by memory"));
}

TEST_F(MonitorAtATerminal, ATerminalThatGoesAwayEndsTop) {
    Terminal terminal;
    ChildProcess top(
        {"bash", "-c",
         "exec " + tool_path("monitor_tool") + " top --interval 0.01 < /dev/null > " + terminal.path()},
        {"QUOR_DEBUG=0", "TERM=xterm"});
    EXPECT_TRUE(terminal.wait_for("q quits"));
    terminal.hang_up();
    EXPECT_EQ(1, top.exit_status());
    EXPECT_EQ("monitor_tool: can't write the output: Input/output error\n", top.errors());
}

TEST_F(MonitorAtATerminal, NoAnswerToItsQuestionIsNo) {
    start_monitor();
    TerminalOptions typing;
    typing.type_after = "[y/N] ";
    typing.typed = "\004";
    const ToolEnd end = run_on_terminal({"monitor_tool", "reboot"}, typing);
    EXPECT_EQ(1, end.status);
    EXPECT_NE(std::string::npos, end.output.find("nothing was done")) << end.output;
}

TEST_F(MonitorAtATerminal, AMonitorThatGoesAwayMeanwhileIsSaidSo) {
    start_monitor();
    TerminalOptions typing;
    typing.type_after = "[y/N] ";
    typing.before_typing = [this] { monitor_->process().kill(); };
    typing.typed = "y\n";
    const ToolEnd end = run_on_terminal({"monitor_tool", "reboot"}, typing);
    EXPECT_EQ(3, end.status);
    EXPECT_NE(std::string::npos, end.output.find("reboot failed: monitor went away")) << end.output;
}

TEST_F(MonitorAtATerminal, EventsFitIt) {
    std::filesystem::create_directories(kEvents);
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "wlan\nrouter\nlcd\n"));
    TerminalOptions narrow;
    narrow.columns = 24;
    EXPECT_EQ("\033[2m# /m_data/usr/subscribe\033[0m\r\n  weather\r\n      wlan router lcd\r\n",
              run_on_terminal({"monitor_tool", "events"}, narrow).output);
}

}  // namespace
