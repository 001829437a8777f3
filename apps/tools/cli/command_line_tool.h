/*
 * The frame of every command-line tool: its commands, their help, what is said of a wrong command line, the
 * words that the shell completes, and the exit code. Exceptions end here.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli/exit_code.h"

/* The option, beyond those of --help, with which the shell's completion asks: --complete WORD... */
inline constexpr char kCompleteOption[] = "--complete";

/* What a tool is, in its help. */
struct ToolWords {
    const char *name;
    const char *purpose;
    const char *examples; /* command lines, each with its line end */
};

class CommandLineTool {
  public:
    using Run = std::function<ExitCode()>;
    using Words = std::function<std::vector<std::string>()>;

    explicit CommandLineTool(const ToolWords &words);

    /*
     * Adds a command and returns it, for its arguments and options.
     *
     * examples: command lines, each with its line end; shown as they are. run: carries it out.
     */
    CLI::App &add(const std::string &name, const std::string &purpose, const std::string &examples, Run run);

    /* Tells what may stand for an argument, or for an option's value, of this name: "KEY", "MODULE". */
    void complete(const std::string &argument, Words words);

    /* Parses and runs. */
    ExitCode run(int argc, char **argv);

  private:
    ExitCode parse_and_run(int argc, char **argv);
    ExitCode run_chosen();
    ExitCode refuse_command_line(const CLI::ParseError &error) const;
    std::string problem_with(const std::string &word) const;
    const CLI::App &chosen() const;

    CLI::App app_;
    std::map<const CLI::App *, Run> runs_;
    std::map<std::string, Words> words_;
};

/*
 * The whole of a tool's main.
 *
 * declare: adds its commands. Returns the exit status.
 */
int run_tool(const ToolWords &words, void (*declare)(CommandLineTool &tool), int argc, char **argv) noexcept;

/* The check of an option or argument that is one of some words; a wrong one gets the nearest right one. */
CLI::Validator one_of(const std::string &kind, std::vector<std::string> (*words)());

/* The names of an app's commands, and the names of its options ("--json"). */
std::vector<std::string> command_names(const CLI::App &app);
std::vector<std::string> option_names(const CLI::App &app);
