/*
 * The commands of monitor_tool that show the status of modules.
 */
#include <algorithm>
#include <cstdio>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/module_words.h"
#include "frwk_common.h"
#include "monitor_tool/module_columns.h"
#include "monitor_tool/module_list.h"
#include "monitor_tool/monitor_options.h"
#include "output/field_list.h"
#include "output/human_units.h"
#include "output/terminal.h"
#include "output/text_table.h"

namespace {

/* Reports why a module did not answer, if it did not. */
ExitCode report_missing(const ProbeResult &result, const char *command, uint32_t module) {
    return report_outcome(result.probe, module, std::string(command) + " " + module_text(module));
}

// ---- status ----

std::string memory_line(const ModuleReport &report) {
    if (!report.result.memory) {
        return "";
    }
    const os_mem_usage_t &memory = *report.result.memory;
    return std::to_string(memory.live_bytes) + " bytes in " + std::to_string(memory.live_blocks) +
           " blocks, peak " + std::to_string(memory.peak_bytes) + " bytes";
}

void print_status(const ModuleReport &report) {
    const ModuleFacts &facts = report.facts;
    print_title(facts.name);
    for (const char *column : {"id", "alias", "flags", "enabled", "startup", "state"}) {
        print_field(column, cell_of(report, column));
    }
    print_field("process", facts.process != 0 ? std::to_string(facts.process) : "");
    print_field("status", cell_of(report, "status"));
    print_field("memory", memory_line(report));
    print_field("time", cell_of(report, "time"));
    print_field("start delay", std::to_string(g_modules_info[facts.id].delay) + " ms");
    print_field("log facility", std::to_string(g_modules_info[facts.id].facility));
    print_field("arguments", frwk_module_cmd(facts.id));
}

// ---- probe ----

Json probe_as_json(uint32_t module, const ProbeResult &result) {
    Json object = json_members();
    const apps_err_e_type code = result.probe.delivered() ? result.probe.result : result.probe.sent;
    add_member(object, "name", json_text(module_text(module)));
    add_member(object, "result", json_number(code));
    add_member(object, "result_name", json_text(code_name(code)));
    if (result.probe.delivered()) {
        add_member(object, "microseconds", json_number(result.microseconds));
    }
    return object;
}

void print_probe(uint32_t module, const ProbeResult &result) {
    if (result.probe.delivered()) {
        print_sentence(module_text(module) + " answered in " +
                       milliseconds_text(static_cast<double>(result.microseconds)));
    }
}

// ---- memory ----

/* On a narrow terminal the least important columns are left out first: warn at, refused, total, blocks. */
TextTable memory_table() {
    return TextTable({"MODULE", "LIVE", "PEAK", "BLOCKS", "TOTAL", "REFUSED", "WARN AT"}, {6, 5, 4, 3});
}

void add_memory_row(TextTable &table, uint32_t module, const os_mem_usage_t &memory) {
    table.add({module_text(module), std::to_string(memory.live_bytes), std::to_string(memory.peak_bytes),
               std::to_string(memory.live_blocks), std::to_string(memory.total_blocks),
               std::to_string(memory.refused), std::to_string(memory.warn_at)});
}

void print_memory(const std::map<uint32_t, ProbeResult> &all) {
    TextTable table = memory_table();
    for (const auto &[module, result] : all) {
        if (result.memory) {
            add_memory_row(table, module, *result.memory);
        }
    }
    table.print();
}

void print_memory_json(const std::map<uint32_t, ProbeResult> &all) {
    const Json items = json_items();
    for (const auto &[module, result] : all) {
        if (result.memory) {
            Json object = memory_as_json(*result.memory);
            add_member(object, "name", json_text(module_text(module)));
            add_item(items, std::move(object));
        }
    }
    print_json(items);
}

ExitCode show_status(const MonitorOptions &options) {
    std::vector<uint32_t> modules;
    const ExitCode code = read_modules({options.module}, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    const ModuleReport report =
        report_of(module_facts(static_cast<int32_t>(modules[0])), survey_module(modules[0], options.limit()));
    if (options.json) {
        print_json(report_as_json(report));
    } else {
        print_status(report);
    }
    return report_missing(report.result, "status", modules[0]);
}

ExitCode probe_modules(const MonitorOptions &options) {
    std::vector<uint32_t> modules;
    ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::map<uint32_t, ProbeResult> all = survey_modules(modules, options.limit());
    const Json items = json_items();
    for (const auto &[module, result] : all) {
        add_item(items, probe_as_json(module, result));
    }
    if (options.json) {
        print_json(items);
    }
    for (const auto &[module, result] : all) {
        if (!options.json) {
            print_probe(module, result);
        }
        code = std::max(code, report_missing(result, "probe", module));
    }
    return code;
}

ExitCode show_memory(const MonitorOptions &options) {
    std::vector<uint32_t> modules;
    ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    const bool every = modules.empty();
    const std::map<uint32_t, ProbeResult> all =
        survey_modules(every ? modules_to_ask() : modules, options.limit());
    if (options.json) {
        print_memory_json(all);
    } else {
        print_memory(all);
    }
    for (const auto &[module, result] : all) {
        code = every ? code : std::max(code, report_missing(result, "memory", module));
    }
    return code;
}

// ---- the command line ----

MonitorOptions g_options;

void declare(CommandLineTool &tool) {
    Command list = tool.add("list", "List all modules and their status",
                            "monitor_tool list\n"
                            "monitor_tool list --running --sort memory\n"
                            "monitor_tool list --json | jq '.[].name'\n",
                            g_options.runs(list_modules));
    g_options.add_order(list, "trouble first, then id", column_names);
    g_options.add_timeout(list);
    g_options.add_json(list);

    Command status = tool.add("status", "Show everything about a module", "monitor_tool status wlan\n",
                              g_options.runs(show_status));
    g_options.add_module(status);
    g_options.add_timeout(status);
    g_options.add_json(status);

    Command probe = tool.add("probe", "Show the response times of modules",
                             "monitor_tool probe --timeout 0.5 wlan router\n", g_options.runs(probe_modules));
    g_options.add_modules(probe, "Names, aliases or ids of modules").required();
    g_options.add_timeout(probe);
    g_options.add_json(probe);

    Command memory = tool.add("memory", "Show the tracked memory of modules",
                              "monitor_tool memory\n"
                              "monitor_tool memory --json zndb\n",
                              g_options.runs(show_memory));
    g_options.add_modules(memory, "Names, aliases or ids of modules; default: all that answer");
    g_options.add_timeout(memory);
    g_options.add_json(memory);
}

const CommandGroup kCommands(1, declare);

}  // namespace
