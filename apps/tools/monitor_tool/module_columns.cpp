#include "monitor_tool/module_columns.h"

#include <algorithm>
#include <iterator>

#include "cli/command.h"
#include "device/module_words.h"
#include "frwk_module.h"
#include "output/human_units.h"
#include "output/text_table.h"

namespace {

constexpr double kUnknown = -1;

const char *yes_or_no(bool value) {
    return value ? "yes" : "no";
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

std::string pid_cell(const ModuleReport &report) {
    return report.facts.process > 0 ? std::to_string(report.facts.process) : "";
}

std::string cpu_cell(const ModuleReport &report) {
    return report.process ? short_percent(report.processor) : "";
}

std::string rss_cell(const ModuleReport &report) {
    return report.process ? short_bytes(report.process->resident_bytes) : "";
}

std::string threads_cell(const ModuleReport &report) {
    return report.process ? std::to_string(report.process->threads) : "";
}

std::string uptime_cell(const ModuleReport &report) {
    return report.process ? short_duration(report.uptime) : "";
}

std::string restarts_cell(const ModuleReport &report) {
    return report.facts.process > 0 || report.restarts > 0 ? std::to_string(report.restarts) : "";
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

double pid_weight(const ModuleReport &report) {
    return -report.facts.process;
}

double cpu_weight(const ModuleReport &report) {
    return report.process ? report.processor : kUnknown;
}

double rss_weight(const ModuleReport &report) {
    return report.process ? static_cast<double>(report.process->resident_bytes) : kUnknown;
}

double threads_weight(const ModuleReport &report) {
    return report.process ? report.process->threads : kUnknown;
}

double uptime_weight(const ModuleReport &report) {
    return report.process ? report.uptime : kUnknown;
}

double restarts_weight(const ModuleReport &report) {
    return report.restarts;
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
    {"pid", "PID", pid_cell, pid_weight},
    {"cpu", "CPU%", cpu_cell, cpu_weight},
    {"rss", "RSS", rss_cell, rss_weight},
    {"threads", "THREADS", threads_cell, threads_weight},
    {"uptime", "UPTIME", uptime_cell, uptime_weight},
};

/* Known only to who watches. */
constexpr Column kRestarts = {"restarts", "RESTARTS", restarts_cell, restarts_weight};

const Column &column_named(const std::string &name) {
    if (name == kRestarts.name) {
        return kRestarts;
    }
    const auto *found = std::find_if(std::begin(kColumns), std::end(kColumns),
                                     [&](const Column &column) { return name == column.name; });
    return found != std::end(kColumns) ? *found : kColumns[0];
}

/* Left out on a narrow terminal, in this order. */
constexpr const char *kSpare[] = {"alias",  "flags", "startup", "enabled", "id", "threads",
                                  "status", "time",  "memory",  "uptime",  "pid"};

std::vector<size_t> spare_columns() {
    std::vector<size_t> places;
    for (const char *name : kSpare) {
        places.push_back(static_cast<size_t>(&column_named(name) - kColumns));
    }
    return places;
}

bool comes_first(const Column &column, const ModuleReport &left, const ModuleReport &right) {
    return column.weight != nullptr ? column.weight(left) > column.weight(right)
                                    : column.cell(left) < column.cell(right);
}

}  // namespace

std::vector<std::string> column_names() {
    return names_of(kColumns);
}

std::vector<std::string> top_column_names() {
    std::vector<std::string> names = column_names();
    names.emplace_back(kRestarts.name);
    return names;
}

std::vector<std::string> watched_column_names() {
    return {"cpu",    "rss",     "memory", "time",   "pid", "name",
            "uptime", "threads", "state",  "status", "id",  kRestarts.name};
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
        table.add(cells, style_of(trouble_of(report)));
    }
    table.print();
}
