/*
 * The command line options of monitor_tool.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

struct MonitorOptions {
    std::string module;
    std::vector<std::string> modules;
    std::string text;   /* part of an event's name */
    double timeout = 2; /* seconds to wait for a module's answers */
    std::string sort;   /* a column; "" for the command's default */
    bool reverse = false;
    bool running = false; /* only modules that run */
    double interval = 2;  /* seconds between two updates */
    uint32_t reason = 0;
    bool yes = false;
    bool json = false;

    std::chrono::milliseconds limit() const {
        return std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    }
};
