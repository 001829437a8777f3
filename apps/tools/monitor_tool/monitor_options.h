/*
 * What the command line of monitor_tool says.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

struct MonitorOptions {
    std::string module;
    std::vector<std::string> modules;
    std::string text;   /* in the name of an event */
    double timeout = 2; /* seconds that a module may take for its answers */
    std::string sort;   /* a column; "" for what the command thinks best */
    bool reverse = false;
    bool running = false; /* only modules that run */
    double interval = 2;  /* seconds between two looks */
    uint32_t reason = 0;
    bool yes = false;
    bool json = false;

    std::chrono::milliseconds limit() const {
        return std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    }
};
