/*
 * The commands of logtool for modules' log channels: how they were started, and reading their settings again.
 */
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/request_outcome.h"
#include "device/module_facts.h"
#include "device/module_words.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "frwk_common.h"
#include "logtool/log_options.h"
#include "output/json_output.h"
#include "output/text_table.h"
#include "support/log_line.h"

namespace {

constexpr int kDefaultLevel = 4;

/* The log settings that a module's process was started with. */
struct Channels {
    ModuleFacts facts;
    std::string problem; /* why its environment can't be read, or "" */
    bool debug;
    int level;
    std::string output; /* target of the debug channel */
};

std::string folder_of(pid_t process) {
    return std::string(paths::kProcessFolder) + "/" + std::to_string(process);
}

/* A variable of an environment, whose entries end in NULs; "" when it isn't there. */
std::string variable(const std::string &environment, const char *name) {
    const std::string all = '\0' + environment;
    const std::string entry = '\0' + std::string(name) + '=';
    const size_t found = all.find(entry);
    if (found == std::string::npos) {
        return "";
    }
    const size_t begin = found + entry.size();
    return all.substr(begin, all.find('\0', begin) - begin);
}

/* Parsed as by the base library: one digit, or else the default. */
int level_of(const std::string &environment) {
    const std::string value = variable(environment, kLogLevelVariable);
    const int level = value.size() == 1 ? level_named(value) : kNoLevel;
    return level == kNoLevel ? kDefaultLevel : level;
}

Channels channels_of(const ModuleFacts &facts) {
    std::string environment;
    std::error_code error;
    const std::string folder = folder_of(facts.process);
    const std::string problem = read_text_file(folder + "/environ", &environment);
    const std::filesystem::path output = std::filesystem::read_symlink(folder + "/fd/2", error);
    return {facts, problem, variable(environment, kDebugVariable) == "1", level_of(environment),
            output.string()};
}

bool is_wanted(const std::vector<uint32_t> &modules, const ModuleFacts &facts) {
    return modules.empty() ||
           std::find(modules.begin(), modules.end(), static_cast<uint32_t>(facts.id)) != modules.end();
}

void print_table(const std::vector<Channels> &all) {
    TextTable table({"MODULE", "PROCESS", "DEBUG", "SYSTEM LOG", "DEBUG OUTPUT"}, {4, 1});
    for (const Channels &channels : all) {
        const std::string debug = channels.debug ? "on" : "off";
        table.add({channels.facts.name, std::to_string(channels.facts.process),
                   channels.problem.empty() ? debug : "?",
                   channels.problem.empty() ? level_name(channels.level) : "?", channels.output});
    }
    table.print();
}

Json channels_as_json(const Channels &channels) {
    Json object = json_members();
    add_member(object, "name", json_text(channels.facts.name));
    add_member(object, "process", json_number(channels.facts.process));
    if (channels.problem.empty()) {
        add_member(object, "debug", json_truth(channels.debug));
        add_member(object, "system_log", json_text(level_name(channels.level)));
    }
    add_member(object, "debug_output", json_text(channels.output));
    return object;
}

void print_array(const std::vector<Channels> &all) {
    const Json items = json_items();
    for (const Channels &channels : all) {
        add_item(items, channels_as_json(channels));
    }
    print_json(items);
}

/* Reports the modules whose settings can't be read. */
ExitCode report_unreadable(const std::vector<Channels> &all, ExitCode code) {
    for (const Channels &channels : all) {
        if (!channels.problem.empty()) {
            code = std::max(code, complain(ExitCode::kRefused,
                                           "channels " + channels.facts.name + ": " + channels.problem));
        }
    }
    return code;
}

ExitCode report_missing(const ModuleFacts &facts) {
    return complain(ExitCode::kUnreachable, "channels " + facts.name + " failed: its process is unknown");
}

ExitCode show_channels(const LogOptions &options) {
    std::vector<uint32_t> modules;
    ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    std::vector<Channels> all;
    for (const ModuleFacts &facts : all_module_facts()) {
        if (!is_wanted(modules, facts)) {
            continue;
        }
        if (facts.process != 0) {
            all.push_back(channels_of(facts));
        } else if (!modules.empty()) {
            code = report_missing(facts);
        }
    }
    if (options.json) {
        print_array(all);
    } else {
        print_table(all);
    }
    return report_unreadable(all, code);
}

/* Doesn't wait for answers, so a module that hangs doesn't delay the command. */
ExitCode reload_log_settings(const LogOptions &options) {
    std::vector<uint32_t> modules;
    ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    if (options.all == !modules.empty()) {
        return complain(ExitCode::kUsage, "reload takes modules, or --all for every monitored one");
    }
    if (options.all) {
        frwk_ipc_msg_broadcast(E_APPS_MSG_SYS_LOG, nullptr, 0);
    }
    for (const uint32_t module : modules) {
        const RequestOutcome outcome = send_message(module, E_APPS_MSG_SYS_LOG, "");
        code = std::max(code, report_outcome(outcome, module, "reload " + module_text(module)));
    }
    return code;
}

// ---- the command line ----

LogOptions g_options;

void declare(CommandLineTool &tool) {
    Command channels = tool.add("channels", "Show how the log channels of running modules were started",
                                "logtool channels\n"
                                "logtool channels --json wlan\n",
                                g_options.runs(show_channels));
    g_options.add_modules(channels, "Names, aliases or ids of modules; default: all that run");
    g_options.add_json(channels, "Print JSON");

    Command reload = tool.add("reload", "Make modules read their log settings again",
                              "logtool reload wlan router\n"
                              "logtool reload --all\n",
                              g_options.runs(reload_log_settings));
    g_options.add_modules(reload, "Names, aliases or ids of modules");
    reload.flag("--all", g_options.all, "All monitored modules that run");
}

const CommandGroup kCommands(2, declare);

}  // namespace
