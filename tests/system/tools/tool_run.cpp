#include "system/tools/tool_run.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/child_process.h"

namespace {

/* Quiet, as the tools are without it, whatever the test's own environment says. */
const std::vector<std::string> kEnvironment = {"QUOR_DEBUG=0", "TERM=xterm", "TOOLS=" TOOLS_FOLDER};

ToolEnd run_to_end(const std::vector<std::string> &command, const std::string &input) {
    ChildProcess process(command, kEnvironment);
    if (!input.empty()) {
        process.write_line(input);
    }
    process.close_input();
    ToolEnd end = {};
    while (const auto line = process.read_line()) {
        end.output += *line + "\n";
    }
    end.status = process.exit_status();
    end.errors = process.errors();
    return end;
}

/* entries: added to the environment of a tool at a terminal. */
[[noreturn]] void become_tool(std::vector<std::string> words, std::vector<std::string> entries) {
    entries.insert(entries.begin(), {"TERM=xterm", "QUOR_DEBUG=0"});
    for (std::string &entry : entries) {
        (void)::putenv(entry.data());
    }
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    (void)::execv(arguments[0], arguments.data());
    ::_exit(127);
}

/* The tool's output until it ends. Each typed text is sent once. */
std::string talk(int terminal, TerminalOptions options) {
    std::string shown;
    size_t from = 0; /* where the awaited text may begin */
    char piece[4096];
    for (;;) {
        if (!options.typed.empty() && shown.find(options.type_after, from) != std::string::npos) {
            if (options.before_typing) {
                options.before_typing();
            }
            EXPECT_EQ(static_cast<ssize_t>(options.typed.size()),
                      ::write(terminal, options.typed.data(), options.typed.size()));
            options.typed = std::exchange(options.then_typed, "");
            options.type_after = options.then_type_after;
            options.before_typing = nullptr;
            from = shown.size();
        }
        pollfd readable = {terminal, POLLIN, 0};
        const int ready =
            ::poll(&readable, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count()));
        const ssize_t count = ready > 0 ? ::read(terminal, piece, sizeof(piece)) : 0;
        if (count <= 0) {
            return shown;
        }
        shown.append(piece, static_cast<size_t>(count));
    }
}

}  // namespace

std::string tool_path(const std::string &name) {
    return std::string(TOOLS_FOLDER "/") + name;
}

ToolEnd run_tool(const std::vector<std::string> &words, const std::string &input) {
    std::vector<std::string> command = words;
    command[0] = tool_path(words[0]);
    return run_to_end(command, input);
}

ToolEnd run_shell(const std::string &command) {
    return run_to_end({"bash", "-c", command}, "");
}

ToolEnd run_on_terminal(const std::vector<std::string> &words, const TerminalOptions &options) {
    const winsize size = {24, options.columns, 0, 0};
    std::vector<std::string> command = words;
    command[0] = words[0][0] == '/' ? words[0] : tool_path(words[0]);
    int terminal = -1;
    const pid_t pid = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (pid == 0) {
        become_tool(command, options.environment);
    }
    if (pid < 0) {
        ADD_FAILURE() << "there are no terminals: " << std::strerror(errno);
        return {-1, "", ""};
    }
    ToolEnd end = {};
    int status = 0;
    end.output = talk(terminal, options);
    EXPECT_EQ(pid, ::waitpid(pid, &status, 0));
    termios settings = {};
    EXPECT_EQ(0, ::tcgetattr(terminal, &settings));
    EXPECT_NE(0u, settings.c_lflag & ECHO) << "the terminal was left silent";
    EXPECT_NE(0u, settings.c_lflag & ICANON) << "the terminal was left without lines";
    ::close(terminal);
    end.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return end;
}
