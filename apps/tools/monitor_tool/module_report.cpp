#include "monitor_tool/module_report.h"

#include <algorithm>
#include <iterator>

#include "device/module_words.h"
#include "frwk_common.h"
#include "output/human_units.h"
#include "output/text_table.h"

namespace {

constexpr double kUnknown = -1;

const char *yes_or_no(bool value) {
    return value ? "yes" : "no";
}

bool in_startup_list(const ModuleReport &report) {
    return (report.facts.flags & FRWK_FLAG_RUN) != 0;
}

// ---- cells ----

std::string id_cell(const ModuleReport &report) {
    return std::to_string(report.facts.id);
}

std::string name_cell(const ModuleReport &report) {
    return report.facts.name;
}

std::string alias_cell(const ModuleReport &report) {
    return report.facts.alias;
}

std::string state_cell(const ModuleReport &report) {
    return state_of(report);
}

std::string status_cell(const ModuleReport &report) {
    return report.result.status ? std::to_string(*report.result.status) : "";
}

std::string memory_cell(const ModuleReport &report) {
    return report.result.memory ? short_bytes(report.result.memory->live_bytes) : "";
}

std::string time_cell(const ModuleReport &report) {
    return is_running(report) ? milliseconds_text(static_cast<double>(report.result.microseconds)) : "";
}

std::string enabled_cell(const ModuleReport &report) {
    return yes_or_no(report.facts.enabled);
}

std::string startup_cell(const ModuleReport &report) {
    return yes_or_no(in_startup_list(report));
}

std::string flags_cell(const ModuleReport &report) {
    return joined(flag_words(report.facts.flags));
}

// ---- what a column of numbers is sorted by ----

double minus_id(const ModuleReport &report) {
    return -report.facts.id;
}

double status_weight(const ModuleReport &report) {
    return report.result.status ? *report.result.status : kUnknown;
}

double time_weight(const ModuleReport &report) {
    return is_running(report) ? static_cast<double>(report.result.microseconds) : kUnknown;
}

double memory_weight(const ModuleReport &report) {
    return report.result.memory ? report.result.memory->live_bytes : kUnknown;
}

struct Column {
    const char *name;
    const char *heading;
    std::string (*cell)(const ModuleReport &report);
    double (*weight)(const ModuleReport &report); /* null: compare the texts */
};

constexpr Column kColumns[] = {
    {"id", "ID", id_cell, minus_id},
    {"name", "NAME", name_cell, nullptr},
    {"alias", "ALIAS", alias_cell, nullptr},
    {"state", "STATE", state_cell, nullptr},
    {"status", "STATUS", status_cell, status_weight},
    {"memory", "MEMORY", memory_cell, memory_weight},
    {"time", "TIME", time_cell, time_weight},
    {"enabled", "ENABLED", enabled_cell, nullptr},
    {"startup", "STARTUP", startup_cell, nullptr},
    {"flags", "FLAGS", flags_cell, nullptr},
};

/* Left out on a narrow terminal: alias, flags, startup, enabled, id. */
std::vector<size_t> spare_columns() {
    return {2, 9, 8, 7, 0};
}

const Column &column_named(const std::string &name) {
    const auto *found = std::find_if(std::begin(kColumns), std::end(kColumns),
                                     [&](const Column &column) { return name == column.name; });
    return found != std::end(kColumns) ? *found : kColumns[0];
}

bool comes_first(const Column &column, const ModuleReport &left, const ModuleReport &right) {
    return column.weight != nullptr ? column.weight(left) > column.weight(right)
                                    : column.cell(left) < column.cell(right);
}

Json texts_as_json(const std::vector<std::string> &texts) {
    Json items = json_items();
    for (const std::string &text : texts) {
        add_item(items, json_text(text));
    }
    return items;
}

void add_signs(const Json &object, const ModuleReport &report) {
    if (is_running(report)) {
        add_member(object, "microseconds", json_number(report.result.microseconds));
    }
    if (report.result.status) {
        add_member(object, "status", json_number(*report.result.status));
    }
    if (report.result.memory) {
        add_member(object, "memory", memory_as_json(*report.result.memory));
    }
}

}  // namespace

std::vector<ModuleReport> report_all(std::chrono::milliseconds limit) {
    return with_facts(survey_modules(modules_to_ask(), limit));
}

std::vector<uint32_t> modules_to_ask() {
    std::vector<uint32_t> modules;
    for (const ModuleFacts &facts : all_module_facts()) {
        if (facts.id > E_APPS_MODULE_MIN && facts.name != frwk_module_name(-1)) {
            modules.push_back(static_cast<uint32_t>(facts.id));
        }
    }
    return modules;
}

std::vector<ModuleReport> with_facts(const std::map<uint32_t, ProbeResult> &results) {
    std::vector<ModuleReport> reports;
    for (const ModuleFacts &facts : all_module_facts()) {
        const auto found = results.find(static_cast<uint32_t>(facts.id));
        reports.push_back({facts, found != results.end() ? found->second : ProbeResult()});
    }
    return reports;
}

const char *state_of(const ModuleReport &report) {
    if (is_running(report)) {
        return "running";
    }
    if (report.result.probe.sent == E_APPS_ERR_TIMEOUT) {
        return "no answer";
    }
    if (report.result.forbidden) {
        return "no access";
    }
    if (report.facts.process != 0) {
        return "not accepting";
    }
    return is_service(report.facts) ? "stopped" : "-";
}

bool is_running(const ModuleReport &report) {
    return report.result.probe.delivered();
}

void keep_running(std::vector<ModuleReport> &reports) {
    const auto idle = [](const ModuleReport &report) {
        return !is_running(report) && report.result.probe.sent != E_APPS_ERR_TIMEOUT &&
               report.facts.process == 0;
    };
    reports.erase(std::remove_if(reports.begin(), reports.end(), idle), reports.end());
}

Json memory_as_json(const os_mem_usage_t &memory) {
    Json object = json_members();
    add_member(object, "live_bytes", json_number(memory.live_bytes));
    add_member(object, "peak_bytes", json_number(memory.peak_bytes));
    add_member(object, "live_blocks", json_number(memory.live_blocks));
    add_member(object, "total_blocks", json_number(memory.total_blocks));
    add_member(object, "refused", json_number(memory.refused));
    add_member(object, "warn_at", json_number(memory.warn_at));
    return object;
}

Json report_as_json(const ModuleReport &report) {
    const ModuleFacts &facts = report.facts;
    Json object = json_members();
    add_member(object, "id", json_number(facts.id));
    add_member(object, "name", json_text(facts.name));
    add_member(object, "alias", json_text(facts.alias));
    add_member(object, "flags", texts_as_json(flag_words(facts.flags)));
    add_member(object, "enabled", json_truth(facts.enabled));
    add_member(object, "startup", json_truth(in_startup_list(report)));
    add_member(object, "state", json_text(state_of(report)));
    if (facts.process != 0) {
        add_member(object, "process", json_number(facts.process));
    }
    add_signs(object, report);
    return object;
}

std::vector<std::string> column_names() {
    std::vector<std::string> names;
    for (const Column &column : kColumns) {
        names.emplace_back(column.name);
    }
    return names;
}

void sort_reports(std::vector<ModuleReport> &reports, const std::string &column, bool reverse) {
    const Column &by = column_named(column);
    std::stable_sort(reports.begin(), reports.end(),
                     [&](const ModuleReport &left, const ModuleReport &right) {
                         return reverse ? comes_first(by, right, left) : comes_first(by, left, right);
                     });
}

std::string cell_of(const ModuleReport &report, const std::string &column) {
    return column_named(column).cell(report);
}

void print_reports(const std::vector<ModuleReport> &reports) {
    std::vector<std::string> header;
    for (const Column &column : kColumns) {
        header.emplace_back(column.heading);
    }
    TextTable table(header, spare_columns());
    for (const ModuleReport &report : reports) {
        std::vector<std::string> cells;
        for (const Column &column : kColumns) {
            cells.push_back(column.cell(report));
        }
        table.add(cells);
    }
    table.print();
}
