/*
 * The command of zndb_tool that prints the generations of the stores' files.
 */
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "output/json_output.h"
#include "output/text_table.h"
#include "zndb_tool/store_history.h"
#include "zndb_tool/zndb_options.h"

namespace {

std::string generation_of(const StoreGeneration &each) {
    const std::string number = each.generation ? std::to_string(*each.generation) : "-";
    return each.is_sound ? number : number + " (wrong check)";
}

Json json_of(const StoreGeneration &each) {
    Json members = json_members();
    add_member(members, "store", json_text(each.store));
    add_member(members, "state", json_text(each.state));
    if (each.generation) {
        add_member(members, "generation", json_number(static_cast<int64_t>(*each.generation)));
    }
    add_member(members, "sound", json_truth(each.is_sound));
    add_member(members, "file", json_text(each.file));
    return members;
}

ExitCode show_history(const ZndbOptions &options) {
    std::vector<StoreGeneration> generations;
    const std::string problem = find_generations(&generations);
    if (!problem.empty()) {
        return complain(ExitCode::kRefused, problem);
    }
    const Json items = json_items();
    TextTable table({"STORE", "STATE", "GENERATION", "FILE"});
    for (const StoreGeneration &each : generations) {
        add_item(items, json_of(each));
        table.add({each.store, each.state, generation_of(each), each.file},
                  each.is_sound ? Style::kPlain : Style::kWarning);
    }
    if (options.json) {
        print_json(items);
    } else {
        table.print();
    }
    return ExitCode::kDone;
}

// ---- the command line ----

ZndbOptions g_options;  // NOLINT(cert-err58-cpp): nothing here needs memory, so nothing throws

void declare(CommandLineTool &tool) {
    Command history = tool.add("history", "Print the generations of the stores' files, and those set aside",
                               "zndb_tool history\n", g_options.runs(show_history));
    g_options.add_json(history);
}

const CommandGroup kCommands(7, declare);

}  // namespace
