#include "cli/completion_words.h"

#include <cstdio>

#include "cli/command_line_tool.h"
#include "cli/text_match.h"
#include "output/spelt_text.h"

namespace {

using Names = std::vector<std::string>;
using Candidates = std::map<std::string, FittingWords>;

/* The position of the word to be completed. */
struct Place {
    const CLI::App *app;         /* the command, or the tool itself */
    const CLI::Option *value_of; /* the option whose value is completed, or null */
    size_t arguments;            /* number of the command's arguments before it */
};

const CLI::App *command_named(const CLI::App &app, const std::string &name) {
    for (const CLI::App *command : app.get_subcommands({})) {
        if (command->get_name() == name) {
            return command;
        }
    }
    return nullptr;
}

const CLI::Option *option_with_value(const CLI::App &app, const std::string &word) {
    const CLI::Option *option = app.get_option_no_throw(word);
    return option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
}

bool is_option(const std::string &word) {
    return !word.empty() && word[0] == '-';
}

void step(Place &place, const std::string &word) {
    if (place.value_of != nullptr) {
        place.value_of = nullptr;
    } else if (is_option(word)) {
        place.value_of = option_with_value(*place.app, word);
    } else if (const CLI::App *command = command_named(*place.app, word)) {
        place.app = command;
    } else {
        ++place.arguments;
    }
}

/* The argument at a position; the last one may have many words. */
std::string argument_at(const CLI::App &app, size_t index) {
    Names names;
    bool many = false;
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_positional()) {
            names.push_back(option->get_name(true));
            many = option->get_items_expected_max() > 1;
        }
    }
    if (index < names.size()) {
        return names[index];
    }
    return many ? names.back() : "";
}

Names named(const Candidates &candidates, const std::string &argument, const TypedWords &typed) {
    const auto found = candidates.find(argument);
    return found != candidates.end() ? found->second(typed) : Names();
}

Names fitting(const Place &place, const Candidates &candidates, const TypedWords &typed) {
    if (place.value_of != nullptr) {
        return named(candidates, value_name(*place.value_of), typed);
    }
    if (is_option(typed.word)) {
        return option_names(*place.app);
    }
    const Names commands = command_names(*place.app);
    return commands.empty() ? named(candidates, argument_at(*place.app, place.arguments), typed) : commands;
}

/* The words with "--option=value" taken apart. */
struct Split {
    TypedWords typed;
    std::string prefix; /* of each completion: "--option=" if bash takes that for a part of the word */
};

Split split(const Names &words) {
    Split all;
    Names &parts = all.typed.before;
    bool after_equals = false;
    for (const std::string &word : words) {
        all.prefix.clear();
        const size_t equals = word.find('=');
        if (after_equals) {
            parts.back() = word;
            after_equals = false;
        } else if (word == "=" && !parts.empty() && is_option(parts.back())) {
            parts.emplace_back();
            after_equals = true;
        } else if (is_option(word) && equals != std::string::npos) {
            all.prefix = word.substr(0, equals + 1);
            parts.push_back(word.substr(0, equals));
            parts.push_back(word.substr(equals + 1));
        } else {
            parts.push_back(word);
        }
    }
    if (!parts.empty()) {
        all.typed.word = parts.back();
        parts.pop_back();
    }
    return all;
}

}  // namespace

std::string value_name(const CLI::Option &option) {
    const std::string name = option.get_type_name();
    return name.substr(0, name.find(':'));
}

void print_completions(const CLI::App &app, const Candidates &candidates, const Names &words) {
    const auto [typed, prefix] = split(words);
    Place place = {&app, nullptr, 0};
    for (const std::string &word : typed.before) {
        step(place, word);
    }
    for (const std::string &name : fitting(place, candidates, typed)) {
        if (starts_like(name, typed.word) && spelt_out(name) == name) {
            (void)std::puts((prefix + name).c_str());
        }
    }
}
