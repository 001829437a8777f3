/*
 * The command of zndb_tool that prints changes as they come.
 */
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "zndb_tool/change_output.h"
#include "zndb_tool/zndb_options.h"

namespace {

std::string prefix_problem(const std::string &prefix) {
    return prefix.size() < ZNDB_KEY_LEN ? "" : "a key has at most 31 characters";
}

/* The watcher's thread starts with the signals blocked. */
ExitCode watch_settings(const ZndbOptions &options) {
    const std::string problem = prefix_problem(options.key);
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, problem);
    }
    const SignalWatch signals;
    ChangeOutput output;
    zndb_watcher *watcher = nullptr;
    if (zndb_watch(options.key.c_str(), ChangeOutput::print, &output, &watcher) != E_ZNDB_RET_SUCCESS) {
        return complain(ExitCode::kRefused, "no memory or no thread to watch");
    }
    const ExitCode code = output.wait(signals);
    zndb_unwatch(watcher);
    return code;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command watch = tool.add("watch", "Print each change of a setting as it comes",
                             "zndb_tool watch\n"
                             "zndb_tool watch wifi_\n",
                             g_options.runs(watch_settings));
    watch.add("PREFIX", g_options.key, "Only settings whose names begin so");
}

const CommandGroup kCommands(5, declare);

}  // namespace
