#include "monitor_tool/module_report.h"

#include <algorithm>
#include <cstdio>

#include "frwk_common.h"

namespace {

Json texts_as_json(const std::vector<std::string> &texts) {
    Json items = json_items();
    for (const std::string &text : texts) {
        add_item(items, json_text(text));
    }
    return items;
}

std::string one_decimal(double number) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.1f", number);
    return text;
}

void add_process(const Json &object, const ModuleReport &report) {
    if (report.process) {
        add_member(object, "processor_percent", json_word(one_decimal(report.processor)));
        add_member(object, "resident_bytes",
                   json_number(static_cast<int64_t>(report.process->resident_bytes)));
        add_member(object, "threads", json_number(report.process->threads));
        add_member(object, "uptime_seconds", json_number(static_cast<int64_t>(report.uptime)));
    }
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

bool in_startup_list(const ModuleReport &report) {
    return (report.facts.flags & FRWK_FLAG_RUN) != 0;
}

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

ModuleReport report_of(const ModuleFacts &facts, const ProbeResult &result) {
    ModuleReport report = {facts, result, process_facts(facts.process), 0, 0, 0};
    if (report.process) {
        const double now = seconds_since_boot();
        report.processor = processor_percent(*report.process, now);
        report.uptime = std::max(0.0, now - report.process->started);
    }
    return report;
}

std::vector<ModuleReport> with_facts(const std::map<uint32_t, ProbeResult> &results) {
    std::vector<ModuleReport> reports;
    for (const ModuleFacts &facts : all_module_facts()) {
        const auto found = results.find(static_cast<uint32_t>(facts.id));
        reports.push_back(report_of(facts, found != results.end() ? found->second : ProbeResult()));
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

Trouble trouble_of(const ModuleReport &report) {
    const ModuleFacts &facts = report.facts;
    if (is_running(report)) {
        return Trouble::kNone;
    }
    if (report.result.forbidden) {
        return Trouble::kUnknown;
    }
    const bool hangs = report.result.probe.sent == E_APPS_ERR_TIMEOUT || facts.process != 0;
    const bool dead = is_service(facts) && in_startup_list(report) && facts.enabled;
    return hangs ? Trouble::kHangs : dead ? Trouble::kDead : Trouble::kNone;
}

Style style_of(Trouble trouble) {
    switch (trouble) {
        case Trouble::kHangs:
        case Trouble::kDead:
            return Style::kAlert;
        case Trouble::kUnknown:
            return Style::kWarning;
        case Trouble::kNone:
            break;
    }
    return Style::kPlain;
}

void put_trouble_first(std::vector<ModuleReport> &reports) {
    std::stable_sort(reports.begin(), reports.end(), [](const ModuleReport &left, const ModuleReport &right) {
        return trouble_of(left) < trouble_of(right);
    });
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
    add_process(object, report);
    return object;
}
