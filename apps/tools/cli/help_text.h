/*
 * The text of --help: usage, arguments, options, commands and examples, as wide as the terminal.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <string>

class HelpText : public CLI::FormatterBase {
  public:
    std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override;
};
