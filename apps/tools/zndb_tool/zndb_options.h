/*
 * The command line options of zndb_tool. A file of commands has an object, filled by the parser
 * before a command runs.
 */
#pragma once

#include <string>
#include <vector>

#include "cli/command_line_tool.h"
#include "zndb_tool/store_request.h"

struct ZndbOptions {
    std::vector<std::string> keys;
    std::string key;
    std::vector<std::string> values;
    std::string file = "-";
    bool perm = false;
    bool defaults = false;
    bool factory = false; /* the overlay alone */
    std::string pattern = {};
    std::string type = "string";
    bool secret = false;
    bool list = false;
    size_t item = 0; /* from 1; 0 for none */
    bool json = false;
    bool save = false;
    bool no_save = false; /* only for backup, which saves by default */
    bool ram = false;
    bool yes = false;            /* don't ask */
    uint32_t confirm_within = 0; /* in seconds */
    bool origin = false;
    bool restored = false; /* what was kept before a restore */

    /* What several commands take. */
    void add_keys(const Command &command);
    void add_store(const Command &command, bool with_defaults);
    void add_own_store(const Command &command); /* without fallback: also the factory overlay alone */
    void add_confirm_within(const Command &command, const char *purpose);
    void add_value_form(const Command &command);
    void add_json(const Command &command);
    void add_save(const Command &command);

    /* Carries out a command as the module zndb_tool. */
    CommandLineTool::Run runs(ExitCode (*command)(const ZndbOptions &options)) const;

    Store store() const { return perm ? Store::kPerm : defaults ? Store::kDefault : Store::kPlain; }
};
