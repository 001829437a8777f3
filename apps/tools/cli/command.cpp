#include "cli/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>

#include "cli/number_range.h"
#include "cli/spelling_hint.h"
#include "cli/text_match.h"

namespace {

/* The groups of the program, ordered by place. */
CommandGroup *g_groups = nullptr;

}  // namespace

const CommandOption &CommandOption::required() const {
    option_->required();
    return *this;
}

const CommandOption &CommandOption::value(const char *name) const {
    option_->type_name(name);
    return *this;
}

const CommandOption &CommandOption::positive() const {
    return check([](const std::string &word) { return whole_number_problem(word, 1); });
}

const CommandOption &CommandOption::within(uint32_t lowest, uint32_t highest) const {
    return check([=](const std::string &word) { return whole_number_problem(word, lowest, highest); });
}

const CommandOption &CommandOption::within_real(double lowest, double highest) const {
    return check([=](const std::string &word) { return real_number_problem(word, lowest, highest); });
}

const CommandOption &CommandOption::check(
    const std::function<std::string(const std::string &)> &problem_with) const {
    option_->check(CLI::Validator(problem_with, ""));
    return *this;
}

const CommandOption &CommandOption::one_of(const std::string &kind, const KnownWords &words) const {
    const auto become_known = [kind, words](std::string &word) {
        const std::vector<std::string> known = words();
        const auto found = std::find_if(known.begin(), known.end(), [&](const std::string &name) {
            return name.size() == word.size() && starts_like(name, word);
        });
        if (found == known.end()) {
            return unknown_choice(kind, word, known);
        }
        word = *found;
        return std::string();
    };
    option_->transform(CLI::Validator(become_known, ""));
    return *this;
}

const CommandOption &CommandOption::excludes(const char *other) const {
    option_->excludes(other);
    return *this;
}

const CommandOption &CommandOption::repeated() const {
    option_->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return *this;
}

const CommandOption &CommandOption::shows_default() const {
    option_->capture_default_str();
    return *this;
}

CommandOption Command::flag(const char *name, bool &value, const std::string &purpose) const {
    return CommandOption(app_->add_flag(name, value, purpose));
}

template <typename Value>
CommandOption Command::add(const char *name, Value &value, const std::string &purpose) const {
    return CommandOption(app_->add_option(name, value, purpose));
}

using Texts = std::vector<std::string>;
template CommandOption Command::add(const char *name, std::string &value, const std::string &purpose) const;
template CommandOption Command::add(const char *name, Texts &value, const std::string &purpose) const;
template CommandOption Command::add(const char *name, uint32_t &value, const std::string &purpose) const;
template CommandOption Command::add(const char *name, std::optional<uint32_t> &value,
                                    const std::string &purpose) const;
template CommandOption Command::add(const char *name, uint64_t &value, const std::string &purpose) const;
template CommandOption Command::add(const char *name, double &value, const std::string &purpose) const;
template CommandOption Command::add(const char *name, std::optional<double> &value,
                                    const std::string &purpose) const;

CommandGroup::CommandGroup(int place, Declare declare) noexcept
    : place_(place), declare_(declare), next_(nullptr) {
    CommandGroup **at = &g_groups;
    while (*at != nullptr && (*at)->place_ < place) {
        at = &(*at)->next_;
    }
    next_ = *at;
    *at = this;
}

void CommandGroup::declare_all(CommandLineTool &tool) {
    for (const CommandGroup *group = g_groups; group != nullptr; group = group->next_) {
        group->declare_(tool);
    }
}
