/*
 * The command line options of monitor_tool. A file of commands has an object, filled by the parser
 * before a command runs.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/command_line_tool.h"

struct MonitorOptions {
    std::string module;
    std::vector<std::string> modules;
    std::string text;   /* part of an event's name */
    double timeout = 2; /* seconds to wait for a module's answers */
    std::string sort;   /* a column; "" for the command's default */
    bool reverse = false;
    bool running = false; /* only modules that run */
    double interval = 2;  /* seconds between two updates */
    uint32_t lines = 5;   /* last log lines of a module */
    uint32_t reason = 0;
    bool yes = false;
    bool json = false;

    /* The shortest --timeout and --interval. */
    static constexpr double kShortestTime = 0.01;

    /* What several commands take. */
    void add_module(const Command &command);
    CommandOption add_modules(const Command &command, const std::string &what);
    void add_timeout(const Command &command);
    void add_json(const Command &command);
    void add_order(const Command &command, const std::string &first, const KnownWords &columns);

    /* Carries out a command as the module monitor_tool. */
    CommandLineTool::Run runs(ExitCode (*command)(const MonitorOptions &options)) const;

    std::chrono::milliseconds limit() const {
        return std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    }
};
