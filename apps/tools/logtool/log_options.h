/*
 * The command line options of logtool. A file of commands has an object, filled by the parser
 * before a command runs.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/command_line_tool.h"

struct LogOptions {
    std::vector<std::string> modules;
    std::vector<std::string> programs; /* other than modules */
    std::string since;                 /* "" for the beginning */
    std::string until;                 /* "" for the end */
    bool boot = false;                 /* since the start of the device */
    std::string level;
    std::string text;
    std::string file; /* "" for the default */
    bool journal = false;
    bool ring = false;
    bool follow = false;
    size_t lines = 0; /* number of last lines; 0 for all */
    bool json = false;
    bool all = false;
    std::string state; /* "on", "off", or "" to show it only */
    std::string keep;  /* how long debug mode lasts */

    /* The possible words for state and keep. */
    static std::vector<std::string> states();
    static std::vector<std::string> ways_to_keep();

    /* What several commands take. */
    void add_modules(const Command &command, const char *what);
    void add_state(const Command &command);
    void add_json(const Command &command, const char *what);

    /* Carries out a command as the module logtool. */
    CommandLineTool::Run runs(ExitCode (*command)(const LogOptions &options)) const;
};
