/*
 * What the command line of logtool says.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct LogOptions {
    std::vector<std::string> modules;
    std::string level;
    std::string text;
    std::string file; /* "" for the one that is found */
    bool journal = false;
    bool follow = false;
    size_t lines = 0; /* the last ones of those that are wanted; 0 for all */
    bool json = false;
    bool all = false;
    std::string state; /* "on", "off", or "" to look only */
    std::string keep;  /* how long debug mode lasts */
};
