/*
 * The command line options of logtool.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct LogOptions {
    std::vector<std::string> modules;
    std::string level;
    std::string text;
    std::string file; /* "" for the default */
    bool journal = false;
    bool follow = false;
    size_t lines = 0; /* number of last lines; 0 for all */
    bool json = false;
    bool all = false;
    std::string state; /* "on", "off", or "" to show it only */
    std::string keep;  /* how long debug mode lasts */
};
