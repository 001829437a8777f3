#include "monitor_tool/module_status.h"

#include <cstdio>
#include <ctime>

#include "frwk_common.h"
#include "log/record_output.h"
#include "monitor_tool/module_columns.h"
#include "output/field_list.h"
#include "output/human_units.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kLogIndent = 4;

const ModuleLog *log_of(const ModuleReport &report, const LogTail *log) {
    const auto found = log != nullptr ? log->modules.find(report.facts.name) : decltype(log->modules.end())();
    return log != nullptr && found != log->modules.end() ? &found->second : nullptr;
}

std::string memory_line(const ModuleReport &report) {
    if (!report.result.memory) {
        return "";
    }
    const os_mem_usage_t &memory = *report.result.memory;
    return std::to_string(memory.live_bytes) + " bytes in " + std::to_string(memory.live_blocks) +
           " blocks, peak " + std::to_string(memory.peak_bytes) + " bytes";
}

// ---- the process ----

std::string start_text(const ModuleReport &report) {
    const std::time_t start = std::time(nullptr) - static_cast<std::time_t>(report.uptime);
    std::tm parts = {};
    char text[32] = "";
    (void)::localtime_r(&start, &parts);
    (void)std::strftime(text, sizeof(text), "%F %T", &parts);
    return text;
}

/* Without a process, the texts are empty. */
void print_process(const ModuleReport &report) {
    const bool known = report.process.has_value();
    print_field("processor", known ? cell_of(report, "cpu") + " % of a processor, since its start" : "");
    print_field("resident memory", cell_of(report, "rss"));
    print_field("threads", cell_of(report, "threads"));
    print_field("uptime", known ? cell_of(report, "uptime") + ", since " + start_text(report) : "");
}

// ---- the log ----

std::string restarts_text(const std::optional<size_t> &restarts) {
    if (!restarts) {
        return "";
    }
    return *restarts == 0 ? "none in the log"
                          : std::to_string(*restarts) + " or more, by the process ids in the log";
}

void print_record(const LogRecord &line) {
    std::string text = line.time;
    for (const std::string &part : {std::string(level_name(line.level)), line.text}) {
        text += (text.empty() || part.empty() ? "" : " ") + part;
    }
    std::string lines = wrapped(shown_text(Stream::kOutput, text), output_width(), kLogIndent);
    lines.pop_back(); /* puts adds the line end */
    (void)std::puts(styled(Stream::kOutput, style_of_level(line.level), lines).c_str());
}

std::string emptiness(const LogTail &tail) {
    return tail.problem.empty() ? "no lines in " + tail.place : tail.problem;
}

void print_log(const ModuleReport &report, const LogTail &tail) {
    const ModuleLog *log = log_of(report, &tail);
    if (log == nullptr || log->lines.empty()) {
        print_field("log", emptiness(tail));
        return;
    }
    print_field("restarts", restarts_text(restarts_in_log(report, *log)));
    print_field("log", "the last lines in " + tail.place);
    for (const LogRecord &line : log->lines) {
        print_record(line);
    }
}

Json lines_as_json(const ModuleLog &log) {
    Json items = json_items();
    for (const LogRecord &line : log.lines) {
        add_item(items, record_as_json(line));
    }
    return items;
}

}  // namespace

void print_status(const ModuleReport &report, const LogTail *log) {
    const ModuleFacts &facts = report.facts;
    const Style style = style_of(trouble_of(report));
    print_title(facts.name, style == Style::kPlain ? Style::kStrong : style);
    for (const char *column : {"id", "alias", "flags", "enabled", "startup", "state"}) {
        print_field(column, cell_of(report, column));
    }
    print_field("process", cell_of(report, "pid"));
    print_field("status", cell_of(report, "status"));
    print_field("memory", memory_line(report));
    print_field("time", cell_of(report, "time"));
    print_process(report);
    print_field("start delay", std::to_string(g_modules_info[facts.id].delay) + " ms");
    print_field("log facility", std::to_string(g_modules_info[facts.id].facility));
    print_field("arguments", frwk_module_cmd(facts.id));
    if (log != nullptr) {
        print_log(report, *log);
    }
}

Json status_as_json(const ModuleReport &report, const LogTail *log) {
    Json object = report_as_json(report);
    if (const ModuleLog *own = log_of(report, log)) {
        if (const std::optional<size_t> restarts = restarts_in_log(report, *own)) {
            add_member(object, "restarts_in_log", json_number(static_cast<int64_t>(*restarts)));
        }
        add_member(object, "log", lines_as_json(*own));
    }
    return object;
}

std::optional<size_t> restarts_in_log(const ModuleReport &report, const ModuleLog &log) {
    if (log.processes.empty()) {
        return std::nullopt;
    }
    std::set<std::string> all = log.processes;
    if (report.facts.process > 0) {
        all.insert(std::to_string(report.facts.process));
    }
    return all.size() - 1;
}
