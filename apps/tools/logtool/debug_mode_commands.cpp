/*
 * The command of logtool that shows and switches the device's debug mode.
 */
#include <strings.h>

#include <string>
#include <vector>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "device/module_survey.h"
#include "device/module_words.h"
#include "device/text_file.h"
#include "formats/debug_marker.h"
#include "frwk_module.h"
#include "frwk_utils.h"
#include "logtool/log_options.h"
#include "output/field_list.h"
#include "output/json_output.h"
#include "zndb.h"

namespace {

constexpr std::chrono::seconds kLimit{2};

/* How it is kept over reboots. */
std::vector<std::string> kept_by() {
    std::vector<std::string> words;
    for (const DebugMarker &marker : kDebugMarkers) {
        if (file_exists(marker.path)) {
            words.emplace_back(marker.keep);
        }
    }
    return words;
}

/* The library waits for the database without a limit, so check with a limit first. */
ExitCode find_database(const std::string &what) {
    return report_outcome(survey_module(E_APPS_MODULE_ZNDB, kLimit).probe, E_APPS_MODULE_ZNDB, what);
}

bool debug_mode_is_on() {
    char value[ZNDB_VALUE_LEN] = "";
    return zndb_get(kDebugModeKey, value, sizeof(value)) == E_ZNDB_RET_SUCCESS &&
           ::strcasecmp(value, "true") == 0;
}

ExitCode show(bool json) {
    const std::vector<std::string> kept = kept_by();
    const bool on = debug_mode_is_on();
    if (!json) {
        print_field("debug mode", on ? "on" : "off");
        print_field("kept over reboot", kept.empty() ? "no" : "yes (" + joined(kept, ", ") + ")");
        return ExitCode::kDone;
    }
    const Json object = json_members();
    Json words = json_items();
    for (const std::string &word : kept) {
        add_item(words, json_text(word));
    }
    add_member(object, "debug_mode", json_truth(on));
    add_member(object, "kept", std::move(words));
    print_json(object);
    return ExitCode::kDone;
}

ExitCode switch_debug_mode(const LogOptions &options) {
    const bool on = options.state == "on";
    if (!options.keep.empty() && !on) {
        return complain(ExitCode::kUsage, "--keep requires 'on'");
    }
    const ExitCode code = find_database("debug");
    if (code != ExitCode::kDone) {
        return code;
    }
    if (!options.state.empty() && frwk_debug_mode_set(on ? 1 : 0, options.keep.c_str()) == 0) {
        return complain(ExitCode::kRefused, "debug " + options.state + " failed: the database refused");
    }
    return show(options.json);
}

// ---- the command line ----

LogOptions g_options;

void declare(CommandLineTool &tool) {
    Command debug = tool.add("debug", "Show or switch the device's debug mode",
                             "logtool debug\n"
                             "logtool debug on --keep rom\n",
                             g_options.runs(switch_debug_mode));
    g_options.add_state(debug);
    debug.add("--keep", g_options.keep, "How long it lasts: ram until a reboot (default), rom or perm")
        .value("KEEP")
        .one_of("way to keep it", LogOptions::ways_to_keep);
    g_options.add_json(debug, "Print JSON");
}

const CommandGroup kCommands(3, declare);

}  // namespace
