/*
 * The frame of every command-line tool: its commands, their help, error messages for a wrong command line,
 * the completions for the shell, and the exit code. Exceptions of the parser are handled here.
 */
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/exit_code.h"

namespace CLI {
class ParseError;
}

/* The hidden option for the shell's completion: --complete WORD... */
inline constexpr char kCompleteOption[] = "--complete";

/* The texts of a tool's help. */
struct ToolWords {
    const char *name;
    const char *purpose;
    const char *examples; /* command lines, each with its line end */
};

class CommandLineTool {
  public:
    using Run = std::function<ExitCode()>;

    explicit CommandLineTool(const ToolWords &words);
    ~CommandLineTool();
    CommandLineTool(const CommandLineTool &) = delete;
    CommandLineTool &operator=(const CommandLineTool &) = delete;

    /*
     * Adds a command and returns it, for its arguments and options.
     *
     * examples: command lines, each with its line end, printed unchanged. run: carries out the command.
     */
    Command add(const std::string &name, const std::string &purpose, const std::string &examples, Run run);

    /* Registers the completions of an argument or an option's value with this name: "KEY", "MODULE". */
    void complete(const std::string &argument, KnownWords words);
    void complete_with(const std::string &argument, FittingWords words);

    /* Parses and runs. */
    ExitCode run(int argc, char **argv);

  private:
    ExitCode parse_and_run(int argc, char **argv);
    std::optional<std::string> stray_word(const std::vector<std::string> &words) const;
    ExitCode run_chosen();
    ExitCode refuse_command_line(const CLI::ParseError &error) const;
    std::string problem_with(const std::string &word) const;
    const CLI::App &chosen() const;

    const std::unique_ptr<CLI::App> app_;
    std::map<const CLI::App *, Run> runs_;
    std::map<std::string, FittingWords> words_;
};

/*
 * The complete main function of a tool.
 *
 * declare: adds what the groups of commands share. Returns the exit status.
 */
int run_tool(const ToolWords &words, void (*declare)(CommandLineTool &tool), int argc, char **argv) noexcept;

/* The names of an app's commands, and the names of its options ("--json"). */
std::vector<std::string> command_names(const CLI::App &app);
std::vector<std::string> option_names(const CLI::App &app);
