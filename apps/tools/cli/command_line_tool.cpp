#include "cli/command_line_tool.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string_view>
#include <utility>

#include "cli/complaint.h"
#include "cli/completion_words.h"
#include "cli/help_text.h"
#include "cli/spelling_hint.h"
#include "output/output_failure.h"
#include "output/terminal.h"
#include "support/product_version.h"

namespace {

/* The words of the parser for an option without its value, or with too many, and for two that exclude each
 * other. */
std::string parser_words(const CLI::ParseError &error) {
    std::string words = error.what();
    const size_t colon = words.find(": ");
    const size_t excludes = words.find(" excludes ");
    if (error.get_name() == "ExcludesError" && excludes != std::string::npos) {
        return words.substr(0, excludes) + " and " + words.substr(excludes + sizeof(" excludes ") - 1) +
               " can't be given together";
    }
    if (error.get_name() == "ArgumentMismatch" && colon != std::string::npos) {
        const bool missing = words.find("missing", colon) != std::string::npos;
        return words.substr(0, colon) + (missing ? " needs a value" : " may be given only once");
    }
    return words;
}

ExitCode print(const std::string &text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    return ExitCode::kDone;
}

/* Flushes the output, which reports a full disk or a closed pipe at the latest. */
ExitCode finish_output(ExitCode code) {
    const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    return written || code != ExitCode::kDone ? code : output_failure(errno);
}

}  // namespace

CommandLineTool::CommandLineTool(const ToolWords &words)
    : app_(std::make_unique<CLI::App>(words.purpose, words.name)) {
    app_->require_subcommand(1);
    app_->formatter(std::make_shared<HelpText>());
    app_->set_help_flag("-h,--help", "Show this help");
    app_->set_version_flag("--version", std::string(words.name) + " " + product_version(),
                           "Show the version");
    app_->footer(words.examples);
}

CommandLineTool::~CommandLineTool() = default;

Command CommandLineTool::add(const std::string &name, const std::string &purpose, const std::string &examples,
                             Run run) {
    CLI::App *command = app_->add_subcommand(name, purpose);
    command->footer(examples);
    runs_[command] = std::move(run);
    return Command(command);
}

void CommandLineTool::complete(const std::string &argument, KnownWords words) {
    words_[argument] = [words = std::move(words)](const TypedWords &) { return words(); };
}

void CommandLineTool::complete_with(const std::string &argument, FittingWords words) {
    words_[argument] = std::move(words);
}

ExitCode CommandLineTool::run(int argc, char **argv) {
    (void)std::signal(SIGPIPE, SIG_IGN); /* so that writing to a closed pipe fails with an error message */
    return finish_output(parse_and_run(argc, argv));
}

ExitCode CommandLineTool::parse_and_run(int argc, char **argv) {
    if (argc > 1 && std::string_view(argv[1]) == kCompleteOption) {
        print_completions(*app_, words_, {argv + 2, argv + argc});
        return ExitCode::kDone;
    }
    if (const std::optional<std::string> stray = stray_word({argv + 1, argv + argc})) {
        complain(ExitCode::kUsage, unknown_name("command", *stray, command_names(*app_)));
        return complain(ExitCode::kUsage, "see '" + app_->get_name() + " --help'");
    }
    try {
        app_->parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        return print(app_->help());
    } catch (const CLI::CallForVersion &) {
        return print(app_->version() + "\n");
    } catch (const CLI::ParseError &error) {
        return refuse_command_line(error);
    }
    return run_chosen();
}

/* The first word that is neither an option nor a command. The parser would run a command that follows it. */
std::optional<std::string> CommandLineTool::stray_word(const std::vector<std::string> &words) const {
    const std::vector<std::string> commands = command_names(*app_);
    for (const std::string &word : words) {
        if (word == "-h" || word == "--help" || word == "--version") {
            break;
        }
        if (word.empty() || word[0] != '-') {
            const bool known = std::find(commands.begin(), commands.end(), word) != commands.end();
            return known ? std::nullopt : std::optional<std::string>(word);
        }
    }
    return std::nullopt;
}

ExitCode CommandLineTool::run_chosen() {
    return runs_.at(&chosen())();
}

ExitCode CommandLineTool::refuse_command_line(const CLI::ParseError &error) const {
    const std::vector<std::string> left = app_->remaining(true);
    const bool root = &chosen() == app_.get();
    if (!left.empty()) {
        complain(ExitCode::kUsage, problem_with(left.front()));
    } else {
        complain(ExitCode::kUsage, root ? "a command is missing" : parser_words(error));
    }
    return complain(ExitCode::kUsage,
                    "see '" + app_->get_name() + (root ? "" : " " + chosen().get_name()) + " --help'");
}

/* The error message for a word that is no argument or option. */
std::string CommandLineTool::problem_with(const std::string &word) const {
    if (word.size() > 1 && word[0] == '-') {
        const std::string problem = unknown_name("option", word, option_names(chosen()));
        const bool number = word[1] >= '0' && word[1] <= '9';
        return number ? problem + "; write -- before arguments that begin with '-'" : problem;
    }
    return "unexpected argument '" + word + "'";
}

const CLI::App &CommandLineTool::chosen() const {
    const auto parsed = app_->get_subcommands();
    return parsed.empty() ? *app_ : *parsed.front();
}

int run_tool(const ToolWords &words, void (*declare)(CommandLineTool &tool), int argc, char **argv) noexcept {
    try {
        CommandLineTool tool(words);
        declare(tool);
        CommandGroup::declare_all(tool);
        return static_cast<int>(tool.run(argc, argv));
    } catch (const std::exception &error) {
        (void)std::fprintf(stderr, "%s: %s\n", words.name, shown_text(Stream::kError, error.what()).c_str());
    }
    return static_cast<int>(ExitCode::kRefused);
}

std::vector<std::string> command_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::App *command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> option_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}
