/*
 * The status of a module for monitor_tool: the known facts and the module's answers, as texts.
 */
#pragma once

#include <string>
#include <vector>

#include "device/module_facts.h"
#include "device/module_survey.h"
#include "device/process_facts.h"
#include "output/json_output.h"
#include "output/terminal.h"

struct ModuleReport {
    ModuleFacts facts;
    ProbeResult result;
    std::optional<ProcessFacts> process; /* nothing without a process, or if it can't be read */
    double processor;  /* percent of one processor, since the process started or another moment */
    double uptime;     /* seconds */
    uint32_t restarts; /* seen by this tool */
};

/* What is wrong with a module, the worst first. */
enum class Trouble {
    kHangs,   /* its process doesn't answer, or accepts no messages */
    kDead,    /* it has no process, but is enabled and in the start-up list */
    kUnknown, /* this user may not ask it */
    kNone
};

Trouble trouble_of(const ModuleReport &report);

/* The colour of a line about it. */
Style style_of(Trouble trouble);

/* Keeps the order otherwise. */
void put_trouble_first(std::vector<ModuleReport> &reports);

/* A module's report with the facts about its process. */
ModuleReport report_of(const ModuleFacts &facts, const ProbeResult &result);

bool in_startup_list(const ModuleReport &report);

/* Queries all services, and returns a report for every module of the table. */
std::vector<ModuleReport> report_all(std::chrono::milliseconds limit);

/* The services of the table, except the tool itself. */
std::vector<uint32_t> modules_to_ask();

/* Combines the modules' answers with the known facts. */
std::vector<ModuleReport> with_facts(const std::map<uint32_t, ProbeResult> &results);

/*
 * "running": it answers. "no answer": it accepts messages, but did not answer in time. "not accepting": its
 * process exists, but accepts no messages. "no access": this user may not ask it. "stopped". "-": a tool,
 * which is not queried.
 */
const char *state_of(const ModuleReport &report);

bool is_running(const ModuleReport &report);

/* Leaves out the modules that don't run; those that don't answer or don't accept messages stay. */
void keep_running(std::vector<ModuleReport> &reports);

Json memory_as_json(const os_mem_usage_t &memory);

/* Everything about a module as JSON; unknown values are left out. */
Json report_as_json(const ModuleReport &report);
