/*
 * What a tool's command takes, as the command's file declares it. Only cli/ knows the parser.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/exit_code.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

class CommandLineTool;

/* Returns the possible words for a value. */
using KnownWords = std::function<std::vector<std::string>()>;

/* Such words: the names of a table's rows, in their order. */
template <typename Table>
std::vector<std::string> names_of(const Table &table) {
    std::vector<std::string> names;
    for (const auto &row : table) {
        names.emplace_back(row.name);
    }
    return names;
}

/* The command line when a word of it is to be completed. */
struct TypedWords {
    std::vector<std::string> before; /* the command, and all between it and the word */
    std::string word;
};

/* Returns the words that may complete the typed one, and perhaps others. */
using FittingWords = std::function<std::vector<std::string>(const TypedWords &typed)>;

/* An argument or option that was added to a command. */
class CommandOption {
  public:
    explicit CommandOption(CLI::Option *option) : option_(option) {}

    const CommandOption &required() const;

    /* The name of its value in help and completion: "FILE". */
    const CommandOption &value(const char *name) const;

    /* What the value must be. */
    const CommandOption &positive() const; /* a whole number */
    const CommandOption &within(uint32_t lowest, uint32_t highest) const;
    const CommandOption &within_real(double lowest, double highest) const;
    const CommandOption &check(const std::function<std::string(const std::string &)> &problem_with) const;

    /* Upper and lower case are equal: the value becomes the known word. The error message suggests the
     * nearest one. */
    const CommandOption &one_of(const std::string &kind, const KnownWords &words) const;

    /* other: the name of an earlier option of the command. */
    const CommandOption &excludes(const char *other) const;

    /* May be given several times, each time with one value. */
    const CommandOption &repeated() const;

    /* The help ends with the value that its variable has now: "Seconds to wait (2)". */
    const CommandOption &shows_default() const;

  private:
    CLI::Option *option_;
};

/* A command of a tool. Values are stored when the command line is parsed, so they must outlive the tool. */
class Command {
  public:
    explicit Command(CLI::App *app) : app_(app) {}

    CommandOption flag(const char *name, bool &value, const std::string &purpose) const;

    /* name: "--option", or "ARGUMENT". */
    template <typename Value>
    CommandOption add(const char *name, Value &value, const std::string &purpose) const;

  private:
    CLI::App *app_;
};

/*
 * The commands that a file declares. Each such file, TOOL/NAME_commands.cpp, has one as a static object; the
 * build finds the file by its name.
 *
 * place: the order of groups in the tool's help.
 */
class CommandGroup {
  public:
    using Declare = void (*)(CommandLineTool &tool);

    CommandGroup(int place, Declare declare) noexcept;

    /* Declares the commands of every group of the program. */
    static void declare_all(CommandLineTool &tool);

  private:
    int place_;
    Declare declare_;
    CommandGroup *next_;
};
