#include "cli/help_text.h"

#include <algorithm>
#include <sstream>

#include "cli/completion_words.h"
#include "output/terminal.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kNameColumns = 24;
constexpr size_t kWidest = 100;
constexpr size_t kUsageIndent = 2;

bool is_shown(const CLI::Option *option) {
    return !option->get_group().empty();
}

bool takes_many(const CLI::Option *option) {
    return option->get_items_expected_max() > 1;
}

std::string argument_usage(const CLI::Option *option) {
    const std::string name = option->get_name(true) + (takes_many(option) ? "..." : "");
    return option->get_required() ? name : "[" + name + "]";
}

std::string option_name(const CLI::Option *option) {
    const bool has_value = option->get_items_expected_max() > 0;
    return option->get_name(false, true) + (has_value ? " " + value_name(*option) : "");
}

std::string purpose_of(const CLI::Option *option) {
    const std::string &value = option->get_default_str();
    return option->get_description() + (value.empty() ? "" : " (" + value + ")");
}

std::string usage(const CLI::App *app, const std::string &name, size_t width) {
    std::string line = (name.empty() ? app->get_name() : name) + " [OPTIONS]";
    for (const CLI::Option *option : app->get_options()) {
        line += option->get_positional() ? " " + argument_usage(option) : "";
    }
    line += app->get_subcommands({}).empty() ? "" : " COMMAND ...";
    return "Usage:\n" + wrapped(line, width, kUsageIndent);
}

/* The arguments when positional, else the options. */
std::string options(const CLI::App *app, bool positional, size_t width) {
    std::string lines;
    for (const CLI::Option *option : app->get_options()) {
        if (option->get_positional() == positional && is_shown(option)) {
            const std::string name = positional ? option->get_name(true) : option_name(option);
            lines += wrapped_pair(name, purpose_of(option), width, kNameColumns);
        }
    }
    return lines.empty() ? "" : (positional ? "\nArguments:\n" : "\nOptions:\n") + lines;
}

std::string commands(const CLI::App *app, size_t width) {
    std::string lines;
    for (const CLI::App *command : app->get_subcommands({})) {
        lines += wrapped_pair(command->get_name(), command->get_description(), width, kNameColumns);
    }
    return lines.empty() ? "" : "\nCommands:\n" + lines;
}

/* The footer: command lines, each with its line end. */
std::string examples(const std::string &footer, size_t width) {
    std::istringstream lines(footer);
    std::string text = "\nExamples:\n";
    for (std::string line; std::getline(lines, line);) {
        text += wrapped_command(line, width, kUsageIndent);
    }
    return text;
}

}  // namespace

std::string HelpText::make_help(const CLI::App *app, std::string name, CLI::AppFormatMode) const {
    const size_t width = std::min(columns_of(Stream::kOutput), kWidest);
    std::string text = wrapped(app->get_description(), width, 0) + "\n" + usage(app, name, width);
    text += options(app, true, width) + options(app, false, width) + commands(app, width);
    return text + examples(app->get_footer(), width);
}
