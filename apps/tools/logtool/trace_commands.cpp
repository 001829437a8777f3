/*
 * The command of logtool that shows and switches the traces of the modem service.
 */
#include <cstdint>
#include <string>
#include <vector>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/module_words.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "logtool/log_options.h"
#include "logtool/trace_selection.h"
#include "output/field_list.h"
#include "output/json_output.h"

namespace {

/* Why a selected module is not traced; "" if it is. */
std::string obstacle(uint32_t module) {
    const auto id = static_cast<int32_t>(module);
    if (frwk_module_feature(id, FRWK_FLAG_RUN) == 0) {
        return "not in the start-up list";
    }
    return frwk_module_disabled(id, nullptr, 0) != 0 ? "disabled" : "";
}

std::vector<std::string> described(const std::vector<uint32_t> &modules) {
    std::vector<std::string> words;
    for (const uint32_t module : modules) {
        const std::string why = obstacle(module);
        words.push_back(module_text(module) + (why.empty() ? "" : " (" + why + ")"));
    }
    return words;
}

void print_object() {
    const Json object = json_members();
    Json modules = json_items();
    for (const uint32_t module : traced_modules()) {
        Json item = json_members();
        add_member(item, "name", json_text(module_text(module)));
        add_member(item, "counts", json_truth(obstacle(module).empty()));
        add_item(modules, std::move(item));
    }
    add_member(object, "tracing", json_truth(tracing_is_on()));
    add_member(object, "modules", std::move(modules));
    add_member(object, "mask", json_text(trace_mask()));
    print_json(object);
}

void print_pairs() {
    print_field("tracing", tracing_is_on() ? "on" : "off");
    print_field("modules", joined(described(traced_modules()), ", "));
    print_field("mask", trace_mask());
}

/* Without a module, "off" switches off all tracing and keeps the selection. */
std::string change(bool on, const std::vector<uint32_t> &modules) {
    std::string problem = on || modules.empty() ? switch_tracing(on) : "";
    for (size_t i = 0; i < modules.size() && problem.empty(); ++i) {
        problem = switch_trace_of(modules[i], on);
    }
    return problem.empty() && frwk_set_mals_tracemask() == 0 ? "can't write the mask" : problem;
}

ExitCode switch_traces(const LogOptions &options) {
    std::vector<uint32_t> modules;
    const ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::string problem = options.state.empty() ? "" : change(options.state == "on", modules);
    if (!problem.empty()) {
        return complain(ExitCode::kRefused, "trace " + options.state + " failed: " + problem);
    }
    if (options.json) {
        print_object();
    } else {
        print_pairs();
    }
    return ExitCode::kDone;
}

// ---- the command line ----

LogOptions g_options;

void declare(CommandLineTool &tool) {
    Command trace = tool.add("trace", "Show or switch the traces of the modem service",
                             "logtool trace\n"
                             "logtool trace on router voice\n"
                             "logtool trace off\n",
                             g_options.runs(switch_traces));
    g_options.add_state(trace);
    g_options.add_modules(trace, "Names, aliases or ids of modules; default: all tracing");
    g_options.add_json(trace, "Print JSON");
}

const CommandGroup kCommands(4, declare);

}  // namespace
