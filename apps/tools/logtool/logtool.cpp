/*
 * logtool: shows the device's log, and switches debug mode and traces.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "cli/number_range.h"
#include "cli/spelling_hint.h"
#include "device/module_identity.h"
#include "frwk_module.h"
#include "logtool/debug_mode_commands.h"
#include "logtool/log_options.h"
#include "logtool/log_show.h"
#include "logtool/module_channels.h"
#include "logtool/trace_commands.h"
#include "support/log_line.h"

namespace {

using Command = ExitCode (*)(const LogOptions &options);
using Names = std::vector<std::string>;

/* Filled by the parser before a command runs. */
LogOptions g_options;

CommandLineTool::Run run(Command command) {
    return [command] {
        become_module(E_APPS_MODULE_LOGTOOL);
        return command(g_options);
    };
}

Names states() {
    return {"on", "off"};
}

Names ways_to_keep() {
    return {"ram", "rom", "perm"};
}

std::string check_level(const std::string &word) {
    return level_named(word) != kNoLevel ? "" : unknown_name("level", word, level_names());
}

CLI::Option *add_modules(CLI::App &command, const char *what) {
    return command.add_option("MODULE", g_options.modules, what);
}

void add_state(CLI::App &command) {
    command.add_option("STATE", g_options.state, "on or off; default: only show it")
        ->check(one_of("state", states));
}

void add_json(CLI::App &command, const char *what) {
    command.add_flag("--json", g_options.json, what);
}

void add_show(CommandLineTool &tool) {
    CLI::App &show = tool.add("show", "Show the device's log",
                              "logtool show --module wlan --level warning\n"
                              "logtool show --follow --text 'errno='\n"
                              "logtool show --file /var/log/messages.0 --lines 20 --json\n",
                              run(show_log));
    show.add_option("--module", g_options.modules, "Only lines of this module; may be given several times")
        ->type_name("MODULE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    show.add_option("--level", g_options.level, "Only lines of this level or more urgent ones")
        ->type_name("LEVEL")
        ->check(check_level);
    show.add_option("--text", g_options.text, "Only lines with this text, ignoring case")->type_name("TEXT");
    CLI::Option *file = show.add_option("--file", g_options.file, "The log, - for standard input");
    file->type_name("FILE");
    show.add_flag("--journal", g_options.journal, "Read the journal, even if there is a log file")
        ->excludes(file);
    show.add_option("--lines", g_options.lines, "Only the last N of these lines")
        ->type_name("N")
        ->check(whole_number(1));
    show.add_flag("--follow", g_options.follow, "Continue with new lines, until Ctrl-C");
    add_json(show, "Print each line as JSON");
}

void add_channel_commands(CommandLineTool &tool) {
    CLI::App &channels = tool.add("channels", "Show how the log channels of running modules were started",
                                  "logtool channels\n"
                                  "logtool channels --json wlan\n",
                                  run(show_channels));
    add_modules(channels, "Names, aliases or ids of modules; default: all that run");
    add_json(channels, "Print JSON");

    CLI::App &reload = tool.add("reload", "Make modules read their log settings again",
                                "logtool reload wlan router\n"
                                "logtool reload --all\n",
                                run(reload_log_settings));
    add_modules(reload, "Names, aliases or ids of modules");
    reload.add_flag("--all", g_options.all, "All monitored modules that run");
}

void add_switching_commands(CommandLineTool &tool) {
    CLI::App &debug = tool.add("debug", "Show or switch the device's debug mode",
                               "logtool debug\n"
                               "logtool debug on --keep rom\n",
                               run(switch_debug_mode));
    add_state(debug);
    debug
        .add_option("--keep", g_options.keep, "How long it lasts: ram until a reboot (default), rom or perm")
        ->type_name("KEEP")
        ->check(one_of("way to keep it", ways_to_keep));
    add_json(debug, "Print JSON");

    CLI::App &trace = tool.add("trace", "Show or switch the traces of the modem service",
                               "logtool trace\n"
                               "logtool trace on router voice\n"
                               "logtool trace off\n",
                               run(switch_traces));
    add_state(trace);
    add_modules(trace, "Names, aliases or ids of modules; default: all tracing");
    add_json(trace, "Print JSON");
}

constexpr ToolWords kWords = {"logtool", "Shows the device's log, and switches debug mode and traces.",
                              "logtool show --module wlan --follow\n"
                              "logtool channels\n"
                              "logtool trace on router\n"};

void declare(CommandLineTool &tool) {
    add_show(tool);
    add_channel_commands(tool);
    add_switching_commands(tool);
    tool.complete("MODULE", module_names);
    tool.complete("LEVEL", level_names);
    tool.complete("STATE", states);
    tool.complete("KEEP", ways_to_keep);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
