/*
 * The commands of monitor_tool that show the status of modules.
 */
#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/module_words.h"
#include "device/service_socket.h"
#include "frwk_common.h"
#include "log/log_tail.h"
#include "monitor_tool/module_columns.h"
#include "monitor_tool/module_list.h"
#include "monitor_tool/module_status.h"
#include "monitor_tool/monitor_options.h"
#include "output/field_list.h"
#include "output/human_units.h"
#include "output/terminal.h"
#include "output/text_table.h"

namespace {

constexpr uint32_t kMostLines = 10000;

/* Reports why a module did not answer, if it did not. */
ExitCode report_missing(const ProbeResult &result, const char *command, uint32_t module) {
    return report_outcome(result.probe, module, std::string(command) + " " + module_text(module));
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

/* The reports of some modules, each once, those in trouble first. */
std::vector<ModuleReport> report_some(const std::vector<uint32_t> &modules, std::chrono::milliseconds limit) {
    const std::map<uint32_t, ProbeResult> results = survey_modules(modules, limit);
    std::set<uint32_t> done;
    std::vector<ModuleReport> reports;
    for (const uint32_t module : modules) {
        if (done.insert(module).second) {
            reports.push_back(report_of(module_facts(static_cast<int32_t>(module)), results.at(module)));
        }
    }
    put_trouble_first(reports);
    return reports;
}

std::optional<LogTail> log_of(const std::vector<ModuleReport> &reports, uint32_t lines) {
    std::vector<std::string> names;
    names.reserve(reports.size());
    for (const ModuleReport &report : reports) {
        names.push_back(report.facts.name);
    }
    return lines > 0 ? std::optional<LogTail>(read_log_tail(names, lines)) : std::nullopt;
}

/* One module is an object, several are an array. */
void print_statuses_json(const std::vector<ModuleReport> &reports, const LogTail *log) {
    const Json items = json_items();
    for (const ModuleReport &report : reports) {
        add_item(items, status_as_json(report, log));
    }
    print_json(reports.size() == 1 ? status_as_json(reports[0], log) : Json(json_object_get(items.get())));
}

void print_statuses(const std::vector<ModuleReport> &reports, const LogTail *log) {
    for (const ModuleReport &report : reports) {
        (void)std::fputs(&report == &reports.front() ? "" : "\n", stdout);
        print_status(report, log);
    }
}

ExitCode show_status(const MonitorOptions &options) {
    std::vector<uint32_t> modules;
    ExitCode code = read_modules(options.modules, &modules);
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::vector<ModuleReport> reports = report_some(modules, options.limit());
    const std::optional<LogTail> log = log_of(reports, options.lines);
    if (options.json) {
        print_statuses_json(reports, log ? &*log : nullptr);
    } else {
        print_statuses(reports, log ? &*log : nullptr);
    }
    for (const ModuleReport &report : reports) {
        const auto module = static_cast<uint32_t>(report.facts.id);
        code = std::max(code, report_missing(report.result, "status", module));
    }
    return code;
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

/* Modules that nobody named are missing only if they may not be asked. A file or folder that is closed is
 * named once. */
ExitCode report_closed(const std::map<uint32_t, ProbeResult> &all) {
    std::set<std::string> reported;
    ExitCode code = ExitCode::kDone;
    for (const auto &[module, result] : all) {
        if (result.forbidden && reported.insert(absence_words(module)).second) {
            code = report_missing(result, "memory", module);
        }
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
    if (every) {
        return report_closed(all);
    }
    for (const auto &[module, result] : all) {
        code = std::max(code, report_missing(result, "memory", module));
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

    Command status = tool.add("status", "Show everything about modules, and the last lines of their logs",
                              "monitor_tool status wlan\n"
                              "monitor_tool status wlan sms -n 20\n",
                              g_options.runs(show_status));
    g_options.add_modules(status, "Names, aliases or ids of modules").required();
    status.add("-n,--lines", g_options.lines, "Number of log lines of each module, 0 for none")
        .value("N")
        .within(0, kMostLines)
        .shows_default();
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
