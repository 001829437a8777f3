/*
 * A command-line tool run to its end, as a script or a person at a terminal runs it.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

struct ToolEnd {
    int status;         /* the exit status, or 128 and the signal's number; -1 when it never ended */
    std::string output; /* on a terminal including standard error */
    std::string errors;
};

/* The path of a tool. */
std::string tool_path(const std::string &name);

/* Runs a tool with pipes. words: its name and its arguments. */
ToolEnd run_tool(const std::vector<std::string> &words, const std::string &input = "");

/* Runs a shell command in which $TOOLS is the tools' folder. */
ToolEnd run_shell(const std::string &command);

/* How a tool sees its terminal. */
struct TerminalOptions {
    unsigned short columns = 80;
    std::string typed;      /* once the screen shows the text below; Ctrl-C is "\003" */
    std::string type_after; /* "" for at once */
    std::function<void()> before_typing;
    std::string then_typed; /* once the screen shows the next text after that */
    std::string then_type_after;
    std::vector<std::string> environment; /* "NAME=value" */
};

/*
 * Runs a tool, or the program of an absolute path, on a terminal of its own, which must echo and take lines
 * again at its end.
 */
ToolEnd run_on_terminal(const std::vector<std::string> &words, const TerminalOptions &options);
